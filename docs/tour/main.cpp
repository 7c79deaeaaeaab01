// draw_tour FOLDER: takes a picture of every screen in every state, of the real windows with their
// real managers and the toolbox, and writes them into FOLDER.

#include "Home.h"
#include "Tour.h"
#include "Visitor.h"
#include "views/Theme.h"

#include <QApplication>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: draw_tour FOLDER\n");
        return 2;
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const Home home; // before anything asks where the user's folders lie
    QApplication application(argc, argv);
    Theme::apply(application);
    Tour(home, QString::fromLocal8Bit(argv[1])).run();
    for (const QString& fault : Visitor::faults())
        std::fprintf(stderr, "draw_tour: %s\n", qPrintable(fault));
    return Visitor::faults().isEmpty() ? 0 : 1;
}
