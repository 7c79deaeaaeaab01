// draw_art PICTURE FILE: makes one of the product's pictures again.

#include "Drawings.h"
#include "FileIcons.h"
#include "IconFile.h"
#include "Presets.h"
#include "WindowPicture.h"

#include <QGuiApplication>
#include <QString>

#include <cstdio>
#include <exception>
#include <stdexcept>

namespace {

void save(const QImage& image, const QString& path)
{
    if (!image.save(path, "PNG"))
        throw std::runtime_error("cannot write " + path.toStdString());
}

/// The application's icon as a plain picture, as the desktop's icon themes want it.
QImage iconOfEdge(const QString& edge)
{
    bool isNumber = false;
    const int pixels = edge.toInt(&isNumber);
    if (!isNumber || pixels < 16 || pixels > 1024)
        throw std::runtime_error("an icon has an edge of 16 to 1024 pixels");
    return applicationIcon(pixels);
}

void draw(const QString& picture, const QString& path)
{
    if (const QImage preset = Presets::picture(picture); !preset.isNull())
        save(preset, path);
    else if (const QString icon = "application-icon-"; picture.startsWith(icon))
        save(iconOfEdge(picture.sliced(icon.size())), path);
    else if (picture == "application-icon")
        writeIconFile(path, applicationIcon);
    else if (picture == "sample-icon")
        writeIconFile(path, sampleIcon);
    else if (picture == "applications-folder-icon")
        writeIconFile(path, applicationsFolderIcon);
    else if (picture == "document-icon")
        writeIconFile(path, documentIcon);
    else if (picture == "generic-application-icon")
        writeIconFile(path, genericApplicationIcon);
    else if (picture == "sample-background")
        save(sampleBackground(), path);
    else if (picture == "sample-window") {
        // Drawing text asks for an application, not for a screen.
        qputenv("QT_QPA_PLATFORM", "offscreen");
        int count = 0;
        const QGuiApplication application(count, nullptr);
        save(sampleWindow(), path);
    } else
        throw std::runtime_error("no picture is named " + picture.toStdString());
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 3) {
        std::fprintf(stderr,
            "usage: draw_art PICTURE FILE\n"
            "pictures: application-icon application-icon-EDGE applications-folder-icon "
            "document-icon "
            "generic-application-icon sample-icon sample-background sample-window %s\n",
            qPrintable(Presets::names().join(' ')));
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
