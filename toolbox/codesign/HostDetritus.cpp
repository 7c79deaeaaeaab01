#include "codesign/HostDetritus.h"

#include "codesign/CodeError.h"
#include "macfile/Metadata.h"

#include <sys/xattr.h>

namespace codesign {

namespace fs = std::filesystem;

namespace {

constexpr const char* finderInfo = "com.apple.FinderInfo";
constexpr const char* resourceFork = "com.apple.ResourceFork";

} // namespace

std::string detritusOn(const fs::path& path)
{
    // Two questions to the host answer for almost every file; only companions need reading.
    for (const char* name : {finderInfo, resourceFork}) {
        if (::lgetxattr(path.c_str(), (std::string("user.") + name).c_str(), nullptr, 0) > 0)
            return name;
    }
    std::error_code ignored;
    if (!fs::exists(path.parent_path() / ("._" + path.filename().string()), ignored))
        return {};
    const macfile::Metadata metadata = macfile::readMetadata(path);
    if (!metadata.resourceFork.empty())
        return resourceFork;
    return metadata.finderInfo != decltype(metadata.finderInfo){} ? finderInfo : "";
}

void requireNoDetritus(const fs::path& path)
{
    const std::string name = detritusOn(path);
    if (name.empty())
        return;
    throw CodeError(message::detritus)
        .with({"file with invalid attached data: Disallowed xattr " + name + " found on "
            + fs::absolute(path).string()});
}

} // namespace codesign
