#include "platform/Paths.h"

#include <QDir>
#include <QUrl>

using namespace Qt::StringLiterals;

QString pathOf(const QUrl& location)
{
    QString path = location.toLocalFile();
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    return path;
}

QString lastPathComponent(const QUrl& location)
{
    const QString path = pathOf(location);
    return path.sliced(path.lastIndexOf(u'/') + 1);
}

QString withHomeFolder(const QString& path)
{
    if (path == "~"_L1 || path.startsWith("~/"_L1))
        return QDir::homePath() + path.sliced(1);
    return path;
}

QString joinedPath(const QString& folder, const QString& relativePath)
{
    return folder.endsWith(u'/') ? folder + relativePath : folder + u'/' + relativePath;
}
