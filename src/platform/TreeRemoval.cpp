#include "platform/TreeRemoval.h"

#include "platform/AttachedMounts.h"
#include "platform/Descriptor.h"
#include "platform/PlatformError.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const QByteArray& path)
{
    throw PlatformError::fromErrno(
        PlatformError::Operation::remove, QFile::decodeName(path), errno);
}

/// Opens a folder for emptying. A read-only one must be made writable first.
Descriptor openWritableFolder(int parent, const QByteArray& name, const QByteArray& path)
{
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    Descriptor folder(::openat(parent, name.constData(), flags));
    if (!folder && errno == EACCES && ::fchmodat(parent, name.constData(), S_IRWXU, 0) == 0)
        folder = Descriptor(::openat(parent, name.constData(), flags));
    struct stat status { };
    if (!folder || ::fstat(folder.get(), &status) != 0)
        fail(path);
    if ((status.st_mode & S_IRWXU) != S_IRWXU && ::fchmod(folder.get(), S_IRWXU) != 0)
        fail(path);
    return folder;
}

void removeEntry(int parent, const QByteArray& name, const QByteArray& path)
{
    struct stat status { };
    if (::fstatat(parent, name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        fail(path);
    if (!S_ISDIR(status.st_mode)) {
        if (::unlinkat(parent, name.constData(), 0) != 0)
            fail(path);
        return;
    }
    {
        const Descriptor folder = openWritableFolder(parent, name, path);
        std::vector<QByteArray> entries;
        if (!readFolder(folder.get(), entries))
            fail(path);
        for (const QByteArray& entry : entries)
            removeEntry(folder.get(), entry, path + '/' + entry);
    }
    if (::unlinkat(parent, name.constData(), AT_REMOVEDIR) != 0)
        fail(path);
}

} // namespace

void TreeRemoval::run(const QString& path)
{
    const QByteArray name = QFile::encodeName(QDir::cleanPath(path));
    unmountVolumesBelow(QDir::cleanPath(path));
    removeEntry(AT_FDCWD, name, name);
}
