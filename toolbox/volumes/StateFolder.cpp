#include "volumes/StateFolder.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <linux/fs.h>
#include <pwd.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace volumes {

namespace fs = std::filesystem;

namespace {

void makeFolder(const fs::path& folder)
{
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        throw StateFolderError(errno, folder);
}

/// Asks the host's file system, where it knows the wish, to place each folder made here by its name
/// and not beside the others. Where ext4 has no journal it searches one group of inodes past all
/// that were freed in the last minutes: 45,000 files laid out where as many had just been removed
/// took 31 s, elsewhere 2.
void spreadFolders(const fs::path& folder)
{
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    int flags = 0;
    if (::ioctl(descriptor, FS_IOC_GETFLAGS, &flags) == 0 && (flags & FS_TOPDIR_FL) == 0) {
        flags |= FS_TOPDIR_FL;
        ::ioctl(descriptor, FS_IOC_SETFLAGS, &flags);
    }
    ::close(descriptor);
}

bool isOurs(const struct stat& status)
{
    return status.st_uid == ::geteuid();
}

/// The user or an administrator may keep the folder elsewhere; a link that anybody else put there
/// would have us work wherever they like.
struct stat statusOfFolder(const fs::path& folder)
{
    struct stat status { };
    if (::lstat(folder.c_str(), &status) != 0)
        throw StateFolderError(errno, folder);
    if (S_ISLNK(status.st_mode)) {
        if (!isOurs(status) && status.st_uid != 0)
            throw StateFolderError(EPERM, folder);
        if (::stat(folder.c_str(), &status) != 0)
            throw StateFolderError(errno, folder);
    }
    if (!S_ISDIR(status.st_mode))
        throw StateFolderError(ENOTDIR, folder);
    return status;
}

/// The variable may name a folder that is shared, so its mode is the user's affair, as long as
/// nobody else can put other folders into the place of ours.
void checkRoot(const fs::path& folder)
{
    const struct stat status = statusOfFolder(folder);
    const bool anybodyRenames = (status.st_mode & S_IWOTH) != 0 && (status.st_mode & S_ISVTX) == 0;
    if ((!isOurs(status) && status.st_uid != 0) || anybodyRenames)
        throw StateFolderError(EPERM, folder);
}

/// Others must neither read what is kept here nor put anything in: an attached volume may hold an
/// application that is about to be signed.
void checkPrivate(const fs::path& folder)
{
    const struct stat status = statusOfFolder(folder);
    if (!isOurs(status))
        throw StateFolderError(EPERM, folder);
    if ((status.st_mode & 0777) != 0700 && ::chmod(folder.c_str(), 0700) != 0)
        throw StateFolderError(errno, folder);
}

const char* valueOf(const char* variable)
{
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0' ? value : nullptr;
}

fs::path homeFolder()
{
    if (const char* home = valueOf("HOME"))
        return home;
    const passwd* user = ::getpwuid(::geteuid());
    return user != nullptr ? user->pw_dir : "/";
}

} // namespace

StateFolderError::StateFolderError(int code, const fs::path& folder)
    : std::system_error(code, std::generic_category())
    , m_what(this->code().message() + " (" + folder.string() + ", where attached volumes are kept)")
{ }

StateFolder::StateFolder(const fs::path& root, Making making)
    : m_root(fs::absolute(root).lexically_normal())
    , m_volumes(m_root / "Volumes")
    , m_attached(m_root / "attached")
{
    if (making == Making::now)
        make();
}

StateFolder StateFolder::ofUser(Making making)
{
    if (const char* root = valueOf("VANDOR_STATE"))
        return StateFolder(root, making);
    if (const char* data = valueOf("XDG_DATA_HOME"))
        return StateFolder(fs::path(data) / "vandor-dmg", making);
    return StateFolder(homeFolder() / ".local/share/vandor-dmg", making);
}

void StateFolder::make() const
{
    std::error_code fault;
    fs::create_directories(m_root.parent_path(), fault);
    if (fault)
        throw StateFolderError(fault.value(), m_root);
    makeFolder(m_root);
    checkRoot(m_root);
    makeFolder(m_volumes);
    makeFolder(m_attached);
    check();
    spreadFolders(m_attached);
}

bool StateFolder::exists() const
{
    std::error_code unreachable;
    for (const fs::path& folder : {m_root, m_volumes, m_attached}) {
        if (!fs::exists(fs::symlink_status(folder, unreachable)))
            return false;
    }
    check();
    return true;
}

void StateFolder::check() const
{
    checkRoot(m_root);
    checkPrivate(m_volumes);
    checkPrivate(m_attached);
}

fs::path StateFolder::hostPath(const fs::path& path) const
{
    const fs::path normal = path.lexically_normal();
    const fs::path below = normal.lexically_relative("/Volumes");
    if (below.empty() || *below.begin() == "..")
        return path;
    return below == "." ? m_volumes : m_volumes / below;
}

} // namespace volumes
