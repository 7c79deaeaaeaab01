#include "cli/ShipLock.h"

#include "platform/PlatformError.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// False when another has it. Where the file system knows no locks, nobody is kept away.
bool isTakenHold(const Descriptor& file)
{
    return ::flock(file.get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

/// False when `path` was removed, and perhaps made anew, since `file` was opened there.
bool isStillAt(const QByteArray& path, const Descriptor& file)
{
    struct stat there { };
    struct stat here { };
    return ::stat(path.constData(), &there) == 0 && ::fstat(file.get(), &here) == 0
        && there.st_dev == here.st_dev && there.st_ino == here.st_ino;
}

} // namespace

ShipLock::ShipLock(const QString& application, const QString& output)
    : m_lockPath(output + QStringLiteral(".ledger.lock"))
    , m_application(
          ::open(QFile::encodeName(application).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    if (m_application && !isTakenHold(m_application))
        throw Taken(application);
    const QByteArray path = QFile::encodeName(m_lockPath);
    do {
        m_output =
            Descriptor(::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
        if (!m_output)
            throw PlatformError::fromErrno(PlatformError::Operation::write, m_lockPath, errno);
        if (!isTakenHold(m_output))
            throw Taken(output);
    } while (!isStillAt(path, m_output));
}

ShipLock::~ShipLock()
{
    ::unlink(QFile::encodeName(m_lockPath).constData());
}
