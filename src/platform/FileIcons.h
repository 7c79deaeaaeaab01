#pragma once

#include <QHash>
#include <QImage>
#include <QString>

class IconService;

/// Pictures of files as a file browser shows them, for the screens. Keeps those of the last few
/// files, for a preview asks for the same ones again and again. Called on the main thread.
class FileIcons {
public:
    /// `icons` outlives this object.
    explicit FileIcons(IconService& icons);

    /// The picture of the file at `macPath`, `pixels` wide and high: an application's own icon,
    /// the folder of "/Applications", else a sheet of paper.
    QImage picture(const QString& macPath, int pixels);

private:
    struct Kept {
        QByteArray icns;
        QHash<int, QImage> sizes;
    };

    QByteArray iconOf(const QString& macPath);

    IconService& m_icons;
    QHash<QString, Kept> m_kept; // by path and time of change
};
