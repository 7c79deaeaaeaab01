#pragma once

#include "plist/Value.h"

#include <filesystem>
#include <optional>
#include <string>

namespace codesign {

/// Where the parts of a code bundle lie: an application, a framework, a plug-in, or a flat bundle.
struct BundleLayout {
    /// The layout of the folder `path`; none when it is no bundle with an information dictionary.
    /// A framework stands for its current version. Throws bytes::FormatError when its information
    /// dictionary or main executable is a link.
    static std::optional<BundleLayout> of(const std::filesystem::path& path);

    std::string identifier() const; // CFBundleIdentifier, else CFBundleName, else empty
    std::string packageType() const; // CFBundlePackageType
    /// Below `sealRoot`, with a slash at its end; empty for a flat bundle.
    std::string resourcesPrefix() const { return isFlat ? std::string() : "Resources/"; }

    std::filesystem::path root; // the bundle's folder, links resolved
    std::filesystem::path sealRoot; // what the seal's paths are relative to
    std::filesystem::path infoFile; // Info.plist
    std::filesystem::path sealFile; // _CodeSignature/CodeResources
    std::filesystem::path executable; // the main executable, whether it is there or not
    plist::Value info;
    bool hasReadableInfo = true; // false: `info` is empty, for Info.plist is no property list
    bool isFramework = false;
    bool isFlat = false;
};

} // namespace codesign
