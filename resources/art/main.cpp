// draw_art PICTURE FILE: makes one of the product's pictures again.

#include "Drawings.h"
#include "FileIcons.h"
#include "IconFile.h"
#include "WindowPicture.h"

#include <QGuiApplication>
#include <QString>

#include <cstdio>
#include <exception>
#include <stdexcept>

namespace {

void draw(const QString& picture, const QString& path)
{
    if (picture == "application-icon")
        writeIconFile(path, applicationIcon);
    else if (picture == "sample-icon")
        writeIconFile(path, sampleIcon);
    else if (picture == "applications-folder-icon")
        writeIconFile(path, applicationsFolderIcon);
    else if (picture == "document-icon")
        writeIconFile(path, documentIcon);
    else if (picture == "generic-application-icon")
        writeIconFile(path, genericApplicationIcon);
    else if (picture == "sample-background") {
        if (!sampleBackground().save(path, "PNG"))
            throw std::runtime_error("cannot write " + path.toStdString());
    } else if (picture == "sample-window") {
        // Drawing text asks for an application, not for a screen.
        qputenv("QT_QPA_PLATFORM", "offscreen");
        int count = 0;
        const QGuiApplication application(count, nullptr);
        if (!sampleWindow().save(path, "PNG"))
            throw std::runtime_error("cannot write " + path.toStdString());
    } else
        throw std::runtime_error("no picture is named " + picture.toStdString());
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 3) {
        std::fprintf(stderr,
            "usage: draw_art PICTURE FILE\n"
            "pictures: application-icon applications-folder-icon document-icon "
            "generic-application-icon sample-icon sample-background sample-window\n");
        return 2;
    }
    try {
        draw(QString::fromLocal8Bit(arguments[1]), QString::fromLocal8Bit(arguments[2]));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "draw_art: %s\n", error.what());
        return 1;
    }
    return 0;
}
