#include "platform/ApplicationResources.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

std::optional<QString> ApplicationResources::path(const QString& name, const QString& extension)
{
    const QDir programs(QCoreApplication::applicationDirPath());
    for (const QString& folder : {u"../share/vandor-dmg"_s, u"../resources"_s}) {
        const QString candidate =
            QDir::cleanPath(programs.filePath(folder + u'/' + name + u'.' + extension));
        if (QFileInfo(candidate).isFile())
            return candidate;
    }
    return std::nullopt;
}
