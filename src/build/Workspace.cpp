#include "build/Workspace.h"

#include "build/DMGError.h"
#include "platform/FileOperations.h"
#include "platform/Paths.h"
#include "platform/PlatformError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <cerrno>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

QCoro::Task<> removeQuietly(QString tree)
{
    try {
        co_await FileOperations::removeTree(tree);
    } catch (const PlatformError&) {
        // The build's own end is what counts.
    }
}

} // namespace

Workspace::Workspace(const QString& temporaryFolder, StopFlag stop)
    : m_root(
        joinedPath(temporaryFolder, QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper()))
    , m_stop(std::move(stop))
{
    FileOperations::createFolder(temporaryFolder);
    // The host's temporary folder may be everybody's, the application is not.
    if (::mkdir(QFile::encodeName(m_root).constData(), S_IRWXU) != 0)
        throw PlatformError::fromErrno(PlatformError::Operation::createFolder, m_root, errno);
    try {
        FileOperations::createFolder(sourceFiles());
    } catch (const PlatformError&) {
        QDir().rmdir(m_root);
        throw;
    }
}

Workspace::~Workspace()
{
    if (!m_root.isEmpty())
        QDir(m_root).removeRecursively();
}

QString Workspace::sourceFiles() const
{
    return joinedPath(m_root, u"SourceFiles"_s);
}

QString Workspace::writableImage() const
{
    return joinedPath(m_root, u"temp.dmg"_s);
}

QCoro::Task<> Workspace::copyApplication(QUrl application) const
{
    const QString source = application.toLocalFile();
    if (!QFileInfo::exists(source))
        throw DMGError(DMGError::Case::sourceAppMissing);
    const QString target = joinedPath(sourceFiles(), lastPathComponent(application));
    co_await FileOperations::copyTree(source, target, m_stop);
}

void Workspace::linkApplications() const
{
    FileOperations::createLink(u"/Applications"_s, joinedPath(sourceFiles(), u"Applications"_s));
}

QCoro::Task<QString> Workspace::copyBackground(QUrl picture) const
{
    const QString relativePath = joinedPath(u".background"_s, lastPathComponent(picture));
    FileOperations::createFolder(joinedPath(sourceFiles(), u".background"_s));
    const QString target = joinedPath(sourceFiles(), relativePath);
    co_await FileOperations::copyTree(picture.toLocalFile(), target, m_stop);
    co_return relativePath;
}

QCoro::Task<> Workspace::removeSourceFiles() const
{
    return removeQuietly(sourceFiles());
}

QCoro::Task<> Workspace::remove()
{
    return removeQuietly(std::exchange(m_root, {}));
}
