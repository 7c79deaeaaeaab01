#include "platform/SystemRoot.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

QString hostToolsFolder()
{
    const QDir programs(QCoreApplication::applicationDirPath());
    const QString installed = QDir::cleanPath(programs.filePath(u"../lib/vandor-dmg/toolbox"_s));
    if (QFileInfo(installed).isDir())
        return installed;
    return QDir::cleanPath(programs.filePath(u"../toolbox"_s));
}

QString hostStateFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u"/vandor-dmg"_s;
}

} // namespace

SystemRoot SystemRoot::host()
{
    return {hostToolsFolder(), hostStateFolder()};
}

SystemRoot SystemRoot::session(const QString& stateFolder)
{
    return {hostToolsFolder(), stateFolder};
}

SystemRoot::SystemRoot(QString toolsFolder, QString stateFolder)
    : m_toolsFolder(std::move(toolsFolder))
    , m_stateFolder(std::move(stateFolder))
{ }

QString SystemRoot::toolPath(const QString& macPath) const
{
#ifdef Q_OS_MACOS
    return macPath;
#else
    return m_toolsFolder + macPath;
#endif
}

QString SystemRoot::hostPath(const QString& macPath) const
{
#ifndef Q_OS_MACOS
    if (macPath == "/Volumes"_L1 || macPath.startsWith("/Volumes/"_L1))
        return m_stateFolder + macPath;
#endif
    return macPath;
}

QProcessEnvironment SystemRoot::childEnvironment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"VANDOR_STATE"_s, m_stateFolder);
    return environment;
}
