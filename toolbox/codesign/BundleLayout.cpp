#include "codesign/BundleLayout.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "plist/PropertyList.h"

namespace codesign {

namespace fs = std::filesystem;
using bytes::FormatError;

namespace {

/// A damaged dictionary tells nothing; its signature will say that it was another.
void readInfo(BundleLayout& layout)
{
    const auto source = bytes::File::open(layout.infoFile, bytes::File::Mode::read);
    try {
        layout.info = plist::read(source.read(0, source.size()));
    } catch (const FormatError&) {
        layout.info = plist::Dictionary();
        layout.hasReadableInfo = false;
    }
}

bool isPlainFile(const fs::path& path)
{
    return fs::is_regular_file(fs::symlink_status(path));
}

/// Where the support folder and the information dictionary lie for each shape.
bool place(BundleLayout& layout)
{
    if (fs::is_directory(layout.root / "Contents")) {
        layout.sealRoot = layout.root / "Contents";
        layout.infoFile = layout.sealRoot / "Info.plist";
        return true;
    }
    const fs::path current = layout.root / "Versions" / "Current";
    if (fs::is_directory(current)) {
        layout.isFramework = true;
        layout.sealRoot = fs::canonical(current);
        layout.infoFile = layout.sealRoot / "Resources" / "Info.plist";
        return true;
    }
    layout.isFlat = true;
    layout.sealRoot = layout.root;
    layout.infoFile = layout.root / "Info.plist";
    return fs::exists(fs::symlink_status(layout.infoFile));
}

/// The name that the information dictionary gives, never a path out of its folder.
std::string executableName(const BundleLayout& layout)
{
    const auto* name = layout.info.find<std::string>("CFBundleExecutable");
    if (name == nullptr || name->empty()) {
        const bool isVersion = layout.isFramework && layout.root == layout.sealRoot;
        return (isVersion ? layout.root.parent_path().parent_path() : layout.root).stem().string();
    }
    if (name->find('/') != std::string::npos || *name == "..")
        throw FormatError("bundle format unrecognized, invalid, or unsuitable");
    return *name;
}

} // namespace

std::optional<BundleLayout> BundleLayout::of(const fs::path& path)
{
    if (!fs::is_directory(path))
        return std::nullopt;
    BundleLayout layout;
    layout.root = fs::canonical(path);
    // A framework's version may be named itself.
    if (layout.root.parent_path().filename() == "Versions"
        && layout.root.parent_path().parent_path().extension() == ".framework") {
        layout.isFramework = true;
        layout.sealRoot = layout.root;
        layout.infoFile = layout.root / "Resources" / "Info.plist";
    } else if (!place(layout)) {
        return std::nullopt;
    }

    const fs::file_status info = fs::symlink_status(layout.infoFile);
    if (!fs::exists(info))
        return std::nullopt;
    if (!fs::is_regular_file(info))
        throw FormatError(
            "the main executable or Info.plist must be a regular file (no symlinks, etc.)");
    readInfo(layout);
    layout.sealFile = layout.sealRoot / "_CodeSignature" / "CodeResources";

    const fs::path folder =
        layout.isFramework || layout.isFlat ? layout.sealRoot : layout.sealRoot / "MacOS";
    layout.executable = folder / executableName(layout);
    if (fs::exists(fs::symlink_status(layout.executable)) && !isPlainFile(layout.executable))
        throw FormatError(
            "the main executable or Info.plist must be a regular file (no symlinks, etc.)");
    return layout;
}

std::string BundleLayout::identifier() const
{
    for (const char* key : {"CFBundleIdentifier", "CFBundleName"}) {
        if (const auto* text = info.find<std::string>(key); text != nullptr && !text->empty())
            return *text;
    }
    return {};
}

std::string BundleLayout::packageType() const
{
    const auto* type = info.find<std::string>("CFBundlePackageType");
    return type == nullptr ? std::string() : *type;
}

} // namespace codesign
