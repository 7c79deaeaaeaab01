#include "volumes/StateFolder.h"

#include "bytes/File.h"

#include <cerrno>
#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace volumes {

namespace fs = std::filesystem;

namespace {

/// An existing folder keeps its mode: the variable may name one that is shared.
void makeFolder(const fs::path& folder)
{
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        bytes::throwErrno(folder.string());
}

/// Others must neither read what is kept here nor put anything in: an attached volume may hold an
/// application that is about to be signed.
void makePrivate(const fs::path& folder)
{
    makeFolder(folder);
    struct stat status { };
    if (::stat(folder.c_str(), &status) != 0)
        bytes::throwErrno(folder.string());
    const int fault = !S_ISDIR(status.st_mode) ? ENOTDIR : status.st_uid != ::geteuid() ? EPERM : 0;
    if (fault != 0)
        throw std::system_error(fault, std::generic_category(), folder.string());
    if ((status.st_mode & 0777) != 0700 && ::chmod(folder.c_str(), 0700) != 0)
        bytes::throwErrno(folder.string());
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

StateFolder::StateFolder(const fs::path& root)
    : m_root(fs::absolute(root).lexically_normal())
    , m_volumes(m_root / "Volumes")
    , m_attached(m_root / "attached")
{
    if (m_root.has_parent_path())
        fs::create_directories(m_root.parent_path());
    makeFolder(m_root);
    makePrivate(m_volumes);
    makePrivate(m_attached);
}

StateFolder StateFolder::ofUser()
{
    if (const char* root = valueOf("VANDOR_STATE"))
        return StateFolder(root);
    if (const char* data = valueOf("XDG_DATA_HOME"))
        return StateFolder(fs::path(data) / "vandor-dmg");
    return StateFolder(homeFolder() / ".local/share/vandor-dmg");
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
