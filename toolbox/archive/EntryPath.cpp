#include "archive/EntryPath.h"

#include "bytes/FormatError.h"

#include <algorithm>
#include <climits>

namespace archive {

std::string entryPath(std::string_view stored)
{
    const auto refuse = [&](const char* why) {
        throw bytes::FormatError("the archive's entry " + std::string(stored.substr(0, 200)) + why);
    };
    if (stored.starts_with('/'))
        refuse(" leads out of the folder");
    if (stored.size() >= PATH_MAX)
        refuse(" has too long a path");
    std::string path;
    for (std::string_view left = stored; !left.empty();) {
        const std::string_view name = left.substr(0, left.find('/'));
        left.remove_prefix(std::min(left.size(), name.size() + 1));
        if (name.empty() || name == ".")
            continue;
        if (name == "..")
            refuse(" leads out of the folder");
        if (!path.empty())
            path += '/';
        path += name;
    }
    return path;
}

std::string companionPath(std::string_view path)
{
    const std::size_t slash = path.rfind('/');
    const std::string_view name = path.substr(slash + 1);
    // Nor is there a file that "._." and "._.." could belong to: that would be a folder above.
    if (name.size() <= 2 || !name.starts_with("._") || name == "._." || name == "._..")
        return {};
    if (path.starts_with(collectedMetadata) && path.size() > collectedMetadata.size()
        && path[collectedMetadata.size()] == '/')
        path.remove_prefix(collectedMetadata.size() + 1);
    return std::string(path);
}

} // namespace archive
