#include "platform/Bookmarks.h"

#include "platform/PlatformError.h"

#include <QFileInfo>

#include <cerrno>

using namespace Qt::StringLiterals;

QByteArray HostBookmarks::create(const QUrl& location)
{
    const QString path = location.toLocalFile();
    if (path.isEmpty() || !QFileInfo::exists(path))
        throw PlatformError::fromErrno(PlatformError::Operation::read, path, ENOENT);
    return QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()).toEncoded();
}

Bookmarks::Resolved HostBookmarks::resolve(const QByteArray& bookmark)
{
    const QUrl location = QUrl::fromEncoded(bookmark, QUrl::StrictMode);
    if (!location.isLocalFile())
        throw PlatformError(PlatformError::Operation::read, QString::fromUtf8(bookmark.left(80)),
            u"it is not a bookmark of this program"_s);
    const QFileInfo file(location.toLocalFile());
    if (!file.exists())
        throw PlatformError::fromErrno(PlatformError::Operation::read, file.filePath(), ENOENT);
    return {location, !file.isFile()};
}
