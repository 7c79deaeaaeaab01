#include "platform/ApplicationResources.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

ApplicationResources::ApplicationResources()
{
    const QDir programs(QCoreApplication::applicationDirPath());
    for (const QString& folder : {u"../share/vandor-dmg"_s, u"../resources"_s})
        m_folders.append(QDir::cleanPath(programs.filePath(folder)));
}

ApplicationResources::ApplicationResources(QString folder)
    : m_folders{std::move(folder)}
{ }

std::optional<QString> ApplicationResources::path(const QString& name, const QString& extension)
{
    return ApplicationResources().find(name, extension);
}

std::optional<QString> ApplicationResources::find(
    const QString& name, const QString& extension) const
{
    for (const QString& folder : m_folders) {
        const QString candidate = QDir(folder).filePath(name + u'.' + extension);
        if (QFileInfo(candidate).isFile())
            return candidate;
    }
    return std::nullopt;
}

std::optional<QStringList> ApplicationResources::list(
    const QString& extension, const QString& subfolder) const
{
    for (const QString& each : m_folders) {
        const QDir folder(QDir(each).filePath(subfolder));
        if (!folder.exists())
            continue;
        QStringList paths;
        for (const QFileInfo& file : folder.entryInfoList(QDir::Files, QDir::Name)) {
            if (file.suffix() == extension)
                paths.append(file.absoluteFilePath());
        }
        return paths;
    }
    return std::nullopt;
}
