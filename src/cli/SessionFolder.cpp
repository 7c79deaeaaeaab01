#include "cli/SessionFolder.h"

#include "cli/StagedOutput.h"
#include "platform/FileOperations.h"
#include "platform/PlatformError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#ifdef __linux__
#include <linux/fs.h>
#endif

using namespace Qt::StringLiterals;

namespace {

const QString sweptLinkName = u"/also-sweep"_s;

[[noreturn]] void fail(PlatformError::Operation operation, const QString& path)
{
    throw PlatformError::fromErrno(operation, path, errno);
}

void makeFolder(const QString& path)
{
    if (::mkdir(QFile::encodeName(path).constData(), S_IRWXU) != 0 && errno != EEXIST)
        fail(PlatformError::Operation::createFolder, path);
}

/// Has ext4 place each run's folder by its name and not beside the others: without a journal it
/// searches for a free inode past all that were freed in the last minutes, and a bundle of 45,000
/// files then takes half a minute. Elsewhere this does nothing.
void spreadFolders([[maybe_unused]] const QString& path)
{
#ifdef __linux__
    const int folder =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return;
    int flags = 0;
    if (::ioctl(folder, FS_IOC_GETFLAGS, &flags) == 0 && (flags & FS_TOPDIR_FL) == 0) {
        flags |= FS_TOPDIR_FL;
        ::ioctl(folder, FS_IOC_SETFLAGS, &flags);
    }
    ::close(folder);
#endif
}

/// The folder of all runs of this user. In a temporary folder that everybody may write to, another
/// user may have made it first.
QString commonFolder(const QString& temporaryFolder)
{
    const QString path = temporaryFolder + u"/vandor-"_s + QString::number(::getuid());
    makeFolder(path);
    struct stat status { };
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0)
        fail(PlatformError::Operation::read, path);
    const bool isOurs = S_ISDIR(status.st_mode) && status.st_uid == ::geteuid();
    if (!isOurs || (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        throw PlatformError(PlatformError::Operation::write, path,
            u"it is not a folder of this user's alone; remove it or set TMPDIR"_s);
    }
    spreadFolders(path);
    return path;
}

/// Opened and locked, or -1 with `errno`. The tools that a run starts inherit the descriptor, so
/// that the folder stays theirs when only the run itself is killed.
int lockedFile(const QString& folder, int operation)
{
    const QByteArray path = QFile::encodeName(folder + u"/lock"_s);
    const int file = ::open(path.constData(), O_RDWR | O_CREAT, S_IRUSR | S_IWUSR);
    if (file < 0 || ::flock(file, operation) == 0)
        return file;
    ::close(file);
    return -1;
}

/// Held while a run's folder comes into being or is judged, so that no half-made one is taken for
/// a leftover.
class CommonLock {
public:
    explicit CommonLock(const QString& commonFolder)
        : m_file(lockedFile(commonFolder, LOCK_EX))
    {
        if (m_file < 0)
            fail(PlatformError::Operation::write, commonFolder);
        ::fcntl(m_file, F_SETFD, FD_CLOEXEC);
    }
    ~CommonLock() { ::close(m_file); }
    CommonLock(const CommonLock&) = delete;
    CommonLock& operator=(const CommonLock&) = delete;

private:
    int m_file;
};

struct Leftover {
    QString path;
    int lock;
};

std::vector<Leftover> leftoversIn(const QString& folder)
{
    const CommonLock whileJudging(folder);
    std::vector<Leftover> result;
    for (const QString& name : QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString path = folder + u'/' + name;
        const int lock = lockedFile(path, LOCK_EX | LOCK_NB);
        if (lock >= 0)
            result.push_back({path, lock});
    }
    return result;
}

} // namespace

SessionFolder::SessionFolder(const QString& temporaryFolder)
{
    const QString common = commonFolder(temporaryFolder);
    const CommonLock whileMaking(common);
    m_path = common + u'/' + QUuid::createUuid().toString(QUuid::WithoutBraces);
    makeFolder(m_path);
    m_lock = lockedFile(m_path, LOCK_EX | LOCK_NB);
    if (m_lock < 0)
        fail(PlatformError::Operation::write, m_path);
    makeFolder(stateFolder());
    makeFolder(workFolder());
}

SessionFolder::~SessionFolder()
{
    ::close(m_lock);
}

void SessionFolder::alsoSweep(const QString& folder) const
{
    FileOperations::createLink(folder, m_path + sweptLinkName);
}

QCoro::Task<> SessionFolder::remove()
{
    const QString path = m_path;
    co_await FileOperations::removeTree(path);
}

QCoro::Task<qint64> SessionFolder::sweepLeftovers(QString temporaryFolder)
{
    qint64 freed = 0;
    std::vector<Leftover> leftovers;
    try {
        leftovers = leftoversIn(commonFolder(temporaryFolder));
    } catch (const PlatformError&) {
        // The run itself will stumble over the same folder and say so.
    }
    for (const Leftover& leftover : leftovers) {
        try {
            const QString outside = QFile::symLinkTarget(leftover.path + sweptLinkName);
            if (StagedOutput::isStagingFolder(outside) && FileOperations::exists(outside))
                co_await FileOperations::removeTree(outside);
            const qint64 bytes = co_await FileOperations::bytesIn(leftover.path);
            co_await FileOperations::removeTree(leftover.path);
            freed += bytes;
        } catch (const PlatformError&) {
            // What can't be removed now is tried again by the next run.
        }
        ::close(leftover.lock);
    }
    co_return freed;
}
