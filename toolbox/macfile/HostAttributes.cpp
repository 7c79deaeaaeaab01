#include "macfile/HostAttributes.h"

#include "bytes/File.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <sys/xattr.h>

namespace macfile::hostAttributes {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view prefix = "user.";

std::string hostName(const std::string& name)
{
    return std::string(prefix) + name;
}

/// Calls `query(buffer, size)` until its answer fits; -1 is left to the caller.
template <typename Query>
ssize_t fetch(std::vector<char>& buffer, Query query)
{
    for (;;) {
        const ssize_t needed = query(nullptr, 0);
        if (needed <= 0)
            return needed;
        buffer.resize(static_cast<std::size_t>(needed));
        const ssize_t got = query(buffer.data(), buffer.size());
        if (got >= 0 || errno != ERANGE)
            return got;
    }
}

} // namespace

std::vector<std::string> list(const fs::path& path)
{
    std::vector<char> buffer;
    const ssize_t length = fetch(
        buffer, [&](char* out, std::size_t size) { return ::llistxattr(path.c_str(), out, size); });
    if (length < 0 && errno == ENOTSUP)
        return {};
    if (length < 0)
        bytes::throwErrno(path.string());

    std::vector<std::string> names;
    std::string_view rest(buffer.data(), static_cast<std::size_t>(length));
    while (!rest.empty()) {
        const std::string_view name = rest.substr(0, rest.find('\0'));
        rest.remove_prefix(std::min(rest.size(), name.size() + 1));
        if (name.starts_with(prefix))
            names.emplace_back(name.substr(prefix.size()));
    }
    return names;
}

std::vector<std::byte> read(const fs::path& path, const std::string& name)
{
    std::vector<char> buffer;
    const ssize_t length = fetch(buffer, [&](char* out, std::size_t size) {
        return ::lgetxattr(path.c_str(), hostName(name).c_str(), out, size);
    });
    if (length < 0)
        bytes::throwErrno(path.string() + ": " + name);
    const auto value = std::as_bytes(std::span(buffer)).first(static_cast<std::size_t>(length));
    return {value.begin(), value.end()};
}

bool write(const fs::path& path, const std::string& name, std::span<const std::byte> value)
{
    if (::lsetxattr(path.c_str(), hostName(name).c_str(), value.data(), value.size(), 0) == 0)
        return true;
    static constexpr std::array cannotKeep{ENOTSUP, ENOSPC, EDQUOT, E2BIG, ERANGE, EPERM, EACCES};
    if (std::ranges::find(cannotKeep, errno) != cannotKeep.end())
        return false;
    bytes::throwErrno(path.string() + ": " + name);
}

void remove(const fs::path& path, const std::string& name)
{
    if (::lremovexattr(path.c_str(), hostName(name).c_str()) != 0 && errno != ENODATA
        && errno != ENOTSUP)
        bytes::throwErrno(path.string() + ": " + name);
}

} // namespace macfile::hostAttributes
