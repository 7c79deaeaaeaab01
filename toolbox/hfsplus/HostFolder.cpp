#include "hfsplus/HostFolder.h"

#include "bytes/File.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace hfsplus {

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

} // namespace

HostFolder HostFolder::open(const std::filesystem::path& path)
{
    const int descriptor = ::open(path.c_str(), folderFlags);
    if (descriptor < 0)
        bytes::throwErrno(path.string());
    return HostFolder(descriptor);
}

HostFolder::HostFolder(HostFolder&& other) noexcept
    : m_descriptor(std::exchange(other.m_descriptor, -1))
{ }

HostFolder& HostFolder::operator=(HostFolder&& other) noexcept
{
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
}

HostFolder::~HostFolder()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

HostFolder HostFolder::descend(std::string_view relative) const
{
    HostFolder at(::openat(m_descriptor, ".", folderFlags));
    if (at.m_descriptor < 0)
        bytes::throwErrno(std::string(relative));
    for (std::string_view left = relative; !left.empty();) {
        const std::string name(left.substr(0, left.find('/')));
        left.remove_prefix(std::min(left.size(), name.size() + 1));
        HostFolder next(::openat(at.m_descriptor, name.c_str(), folderFlags | O_NOFOLLOW));
        if (next.m_descriptor < 0)
            bytes::throwErrno(std::string(relative));
        at = std::move(next);
    }
    return at;
}

bool HostFolder::status(const char* name, struct stat& out) const
{
    if (::fstatat(m_descriptor, name, &out, AT_SYMLINK_NOFOLLOW) == 0)
        return true;
    if (errno != ENOENT)
        bytes::throwErrno(name);
    return false;
}

std::filesystem::path HostFolder::pathOf(std::string_view name) const
{
    return "/proc/self/fd/" + std::to_string(m_descriptor) + "/" + std::string(name);
}

std::string_view folderOf(std::string_view path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

std::string_view nameOf(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

} // namespace hfsplus
