#include "platform/TreeRemoval.h"

#include "platform/AttachedMounts.h"
#include "platform/Descriptor.h"
#include "platform/PlatformError.h"
#include "platform/WorkQueue.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

PlatformError failure(const QByteArray& path)
{
    return PlatformError::fromErrno(
        PlatformError::Operation::remove, QFile::decodeName(path), errno);
}

[[noreturn]] void fail(const QByteArray& path)
{
    throw failure(path);
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

/// A folder that goes with the last of its entries.
struct DoomedFolder {
    Descriptor descriptor;
    QByteArray name;
    QByteArray path;
    std::shared_ptr<DoomedFolder> parent;

    int parentFolder() const { return parent ? parent->descriptor.get() : AT_FDCWD; }
};
using DoomedHandle = std::shared_ptr<DoomedFolder>;

/// Removes files on several threads, for at each of them a file system may wait for the disk.
class Remover {
public:
    void remove(const QByteArray& path);

private:
    void empty(const DoomedHandle& folder);
    void hand(const DoomedHandle& folder, std::vector<QByteArray>& files);
    DoomedHandle open(const DoomedHandle& parent, const QByteArray& name, const QByteArray& path);

    WorkQueue m_queue{4, 16}; // each job holds a folder open and those above it
};

bool isFolder(int parent, const QByteArray& name, const QByteArray& path)
{
    struct stat status { };
    if (::fstatat(parent, name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        fail(path);
    return S_ISDIR(status.st_mode);
}

void removeFile(int parent, const QByteArray& name, const QByteArray& path)
{
    if (::unlinkat(parent, name.constData(), 0) != 0)
        fail(path);
}

void Remover::remove(const QByteArray& path)
{
    if (isFolder(AT_FDCWD, path, path))
        empty(open(nullptr, path, path));
    else
        removeFile(AT_FDCWD, path, path);
    m_queue.finish();
}

void Remover::empty(const DoomedHandle& folder)
{
    constexpr size_t mostAtOnce = 64;
    std::vector<QByteArray> entries;
    if (!readFolder(folder->descriptor.get(), entries))
        fail(folder->path);
    std::vector<QByteArray> files;
    for (QByteArray& entry : entries) {
        const QByteArray path = folder->path + '/' + entry;
        if (isFolder(folder->descriptor.get(), entry, path))
            empty(open(folder, entry, path));
        else
            files.push_back(std::move(entry));
        if (files.size() == mostAtOnce)
            hand(folder, files);
    }
    hand(folder, files);
}

void Remover::hand(const DoomedHandle& folder, std::vector<QByteArray>& files)
{
    if (files.empty())
        return;
    m_queue.add([folder, names = std::exchange(files, {})] {
        for (const QByteArray& name : names)
            removeFile(folder->descriptor.get(), name, folder->path + '/' + name);
    });
}

DoomedHandle Remover::open(
    const DoomedHandle& parent, const QByteArray& name, const QByteArray& path)
{
    auto folder = std::make_unique<DoomedFolder>(DoomedFolder{{}, name, path, parent});
    folder->descriptor = openWritableFolder(folder->parentFolder(), name, path);
    const auto complete = [this](DoomedFolder* emptied) {
        const std::unique_ptr<DoomedFolder> owner(emptied);
        if (::unlinkat(owner->parentFolder(), owner->name.constData(), AT_REMOVEDIR) != 0)
            m_queue.fail(std::make_exception_ptr(failure(owner->path)));
    };
    return DoomedHandle(folder.release(), complete);
}

} // namespace

void TreeRemoval::run(const QString& path)
{
    const QByteArray name = QFile::encodeName(QDir::cleanPath(path));
    unmountVolumesBelow(QDir::cleanPath(path));
    Remover().remove(name);
}
