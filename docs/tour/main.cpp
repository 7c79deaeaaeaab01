// draw_tour FOLDER [WIDTH HEIGHT]: takes a picture of every screen in every state, of the real
// windows with their real managers and the toolbox, and writes them into FOLDER.

#include "Home.h"
#include "Tour.h"
#include "Visitor.h"
#include "app/ApplicationIcon.h"
#include "views/Theme.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    if (argc != 2 && argc != 4) {
        std::fprintf(stderr, "usage: draw_tour FOLDER [WIDTH HEIGHT]\n");
        return 2;
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const Home home; // before anything asks where the user's folders lie
    QApplication application(argc, argv);
    Theme::apply(application);
    ApplicationIcon::refresh();
    const QSize size = argc == 4 ? QSize(std::atoi(argv[2]), std::atoi(argv[3])) : QSize(1200, 860);
    Tour(home, QString::fromLocal8Bit(argv[1]), size).run();
    for (const QString& fault : Visitor::faults())
        std::fprintf(stderr, "draw_tour: %s\n", qPrintable(fault));
    return Visitor::faults().isEmpty() ? 0 : 1;
}
