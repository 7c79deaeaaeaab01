#pragma once

#include <QByteArray>
#include <QString>

/// The desktop's pictures of files (freedesktop.org Thumbnail Managing Standard 0.9).
class Thumbnails {
public:
    /// Puts the icon's picture into the user's thumbnail cache as the picture of the file at
    /// `path` as it is now. False when there is no such cache (it is never created: a build
    /// server has no use for one), no picture, or no room.
    static bool write(const QString& path, const QByteArray& icns);
    /// The name that the standard gives the thumbnail's file.
    static QString fileName(const QString& path);
};
