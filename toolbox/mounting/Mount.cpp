#include "mounting/Mount.h"

#include "bytes/File.h"
#include "mounting/MountTable.h"
#include "mounting/Requests.h"
#include "mounting/ServingProcess.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <system_error>
#include <unistd.h>

namespace mounting {

namespace fs = std::filesystem;

namespace {

constexpr const char* device = "/dev/fuse";
constexpr const char* helper = "/usr/bin/fusermount3";
constexpr decltype(statfs::f_type) fuseMagic = 0x65735546; // FUSE_SUPER_MAGIC of the kernel

/// Whether it is worth trying: what fails then is told to nobody.
bool mayMount()
{
    return ::access(device, R_OK | W_OK) == 0 && (::geteuid() == 0 || ::access(helper, X_OK) == 0);
}

/// While one lives, nothing reaches standard error: the library's helper has words of its own.
class Silence {
public:
    Silence()
        : m_kept(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3))
    {
        const int nothing = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (m_kept >= 0 && nothing >= 0)
            ::dup2(nothing, STDERR_FILENO);
        if (nothing >= 0)
            ::close(nothing);
    }
    ~Silence()
    {
        if (m_kept < 0)
            return;
        ::dup2(m_kept, STDERR_FILENO);
        ::close(m_kept);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

private:
    int m_kept;
};

bytes::File openFolder(const fs::path& folder)
{
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        bytes::throwErrno(folder.string());
    return {descriptor, folder};
}

/// -1 or the status.
int run(const std::array<const char*, 6>& command)
{
    pid_t process = 0;
    if (::posix_spawn(&process, command[0], nullptr, nullptr,
            const_cast<char* const*>(command.data()), environ)
        != 0)
        return -1;
    int status = 0;
    while (::waitpid(process, &status, 0) < 0)
        if (errno != EINTR)
            return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

std::optional<hfsplus::FolderSnapshot> mountVolume(
    const hfsplus::Volume& volume, const hfsplus::LayoutPlan& plan, const MountOptions& options)
{
    if (!mayMount())
        return std::nullopt;
    ServedVolume served{VolumeTree(volume, plan, options.scratchFolder),
        {volume.header().blockSize, volume.header().totalBlocks}};
    hfsplus::FolderSnapshot snapshot = served.tree.snapshot();
    if (!startServing(served, options))
        return std::nullopt;
    return snapshot;
}

bool isMountedAt(const fs::path& folder)
{
    return deviceMountedAt(folder).has_value();
}

bool isUntouched(int folderDescriptor)
{
    if (::fgetxattr(folderDescriptor, untouchedAttribute, nullptr, 0) > 0)
        return true;
    // The folder that a volume was mounted at is empty after it: that's no account of a change.
    struct statfs facts { };
    if (::fstatfs(folderDescriptor, &facts) == 0 && facts.f_type == fuseMagic)
        return false;
    throw std::system_error(ESTALE, std::generic_category(), "mounted volume");
}

bool isBeingWritten(const fs::path& folder)
{
    return ::getxattr(folder.c_str(), writtenAttribute, nullptr, 0) > 0;
}

void writeOut(const fs::path& folder)
{
    const bytes::File root = openFolder(folder);
    if (::syncfs(root.descriptor()) != 0)
        bytes::throwErrno(folder.string());
    if (!isBeingWritten(folder))
        return;
    // What a program has in its memory is handed over file by file only.
    for (fs::recursive_directory_iterator entry(folder), end; entry != end; ++entry) {
        if (entry->is_symlink())
            continue;
        if (entry->is_directory() && isUntouched(openFolder(entry->path()).descriptor()))
            entry.disable_recursion_pending();
        else if (entry->is_regular_file() && isBeingWritten(entry->path()))
            bytes::File::open(entry->path(), bytes::File::Mode::read).flush();
    }
}

void unmount(const fs::path& folder, bool lazily)
{
    if (::umount2(folder.c_str(), UMOUNT_NOFOLLOW | (lazily ? MNT_DETACH : 0)) == 0)
        return;
    if (errno != EPERM)
        bytes::throwErrno(folder.string());
    const Silence silence;
    if (run({helper, "-u", lazily ? "-qz" : "-q", "--", folder.c_str(), nullptr}) != 0)
        throw std::system_error(EBUSY, std::generic_category(), folder.string());
}

} // namespace mounting
