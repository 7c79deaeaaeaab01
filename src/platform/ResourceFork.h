#pragma once

#include <QByteArray>
#include <QString>

/// What a Mac file has beyond its bytes, as far as a custom icon needs it.
class ResourceFork {
public:
    /// A fork that holds the one resource `icns` -16455, a file's own icon (Inside Macintosh:
    /// More Macintosh Toolbox, "Resource File Format").
    static QByteArray withIcon(const QByteArray& icns);
    /// `finderInfo`, or 32 zero bytes in place of nothing, with the custom-icon bit set.
    static QByteArray markedFinderInfo(QByteArray finderInfo);
    /// Gives the file an icon through its extended attributes: fork and mark, or neither. False
    /// where the file system has no room, and no link is followed.
    static bool setIcon(const QString& path, const QByteArray& icns);
};
