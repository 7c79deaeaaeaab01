#include "codesign/StrictChecks.h"

#include "codesign/CodeError.h"
#include "codesign/HostDetritus.h"
#include "macho/SignatureSpace.h"

#include <algorithm>
#include <set>
#include <string>

namespace codesign {

namespace fs = std::filesystem;

namespace {

bool isPlainData(const fs::directory_entry& entry)
{
    constexpr auto executable =
        fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;
    const fs::file_status status = entry.symlink_status();
    return fs::is_regular_file(status) && (status.permissions() & executable) == fs::perms::none;
}

void checkAppRoot(const BundleLayout& bundle)
{
    static const std::set<std::string> allowed{
        "Contents", ".LSOverride", ".DS_Store", "Icon\r", ".SoftwareDepot.tracking"};
    for (const auto& entry : fs::directory_iterator(bundle.root)) {
        const std::string name = entry.path().filename().string();
        if (!allowed.contains(name) || (name != "Contents" && !isPlainData(entry)))
            throw CodeError(message::bundleRootContents);
    }
}

/// A framework's root holds its versions, and links into the current one.
void checkFrameworkRoot(const BundleLayout& bundle)
{
    if (bundle.root == bundle.sealRoot)
        return;
    const fs::path current = bundle.root / "Versions" / "Current";
    if (!fs::is_symlink(current) || fs::read_symlink(current) != bundle.sealRoot.filename())
        throw CodeError(message::frameworkRootContents);
    for (const auto& entry : fs::directory_iterator(bundle.root)) {
        const std::string name = entry.path().filename().string();
        if (name == "Versions" || name == ".DS_Store")
            continue;
        if (!entry.is_symlink()
            || fs::read_symlink(entry.path()) != fs::path("Versions") / "Current" / name)
            throw CodeError(message::frameworkRootContents);
    }
}

/// Where the system's own parts lie.
bool isOfTheSystem(const std::string& path)
{
    return path.starts_with("/System/") || path.starts_with("/Library/");
}

void checkContents(const BundleLayout& bundle)
{
    const std::string root = bundle.root.string() + "/";
    for (auto at = fs::recursive_directory_iterator(bundle.root);
         at != fs::recursive_directory_iterator(); ++at) {
        if (at->is_symlink()) {
            const fs::path target =
                (at->path().parent_path() / fs::read_symlink(at->path())).lexically_normal();
            const std::string folder = target.string() + "/";
            if (!folder.starts_with(root) && !isOfTheSystem(folder))
                throw CodeError(message::linkDestination)
                    .with({"file modified: " + at->path().string()});
            continue;
        }
        requireNoDetritus(at->path());
    }
}

void checkExecutable(const StaticCode& code)
{
    for (const StaticCode::Part& part : code.parts) {
        const auto& place = part.slice.signature;
        if (place && part.size - (place->offset + place->room) > macho::alignmentSlack)
            throw CodeError(message::strictExecutable).in(part.architecture);
    }
}

} // namespace

void checkStrictly(const StaticCode& code)
{
    if (code.image)
        return;
    checkExecutable(code);
    if (!code.bundle) {
        requireNoDetritus(code.carrier);
        return;
    }
    if (code.bundle->isFramework)
        checkFrameworkRoot(*code.bundle);
    else if (!code.bundle->isFlat)
        checkAppRoot(*code.bundle);
    requireNoDetritus(code.bundle->root);
    checkContents(*code.bundle);
}

} // namespace codesign
