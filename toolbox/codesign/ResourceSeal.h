#pragma once

#include "codesign/BundleLayout.h"
#include "codesign/Digest.h"
#include "codesign/ResourceScan.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace codesign {

/// What a seal says of a nested piece of code.
struct NestedCode {
    Digest codeHash; // 20 bytes
    std::string requirement; // the designated one, as text
};

/// One entry of a seal (`_CodeSignature/CodeResources`).
struct SealedItem {
    Digest sha1, sha256; // of a file
    std::string target; // of a link
    NestedCode nested;
    enum class Kind { file, link, nestedCode } kind = Kind::file;
    bool optional = false;
};

/// The seal over a bundle's resources.
struct ResourceSeal {
    /// Throws bytes::FormatError.
    static ResourceSeal read(std::span<const std::byte> propertyList);

    int version = 2; // 1: plain files only, known by SHA-1
    SealRules rules = SealRules::defaults("Resources/");
    std::map<std::string, SealedItem> items; // by path below the seal root
};

/// Seals the bundle as it lies there: the bytes of its CodeResources file. `nested` is asked for
/// each nested piece of code, which must be signed by then. `oldHashesToo` adds SHA-1 beside
/// SHA-256; `ignored` are files that are taken for absent. Works on all cores.
std::string makeSeal(const BundleLayout& layout, bool oldHashesToo,
    const std::set<std::filesystem::path>& ignored,
    const std::function<NestedCode(const SealCandidate&)>& nested);

/// How a bundle differs from its seal; paths are below the seal root.
struct SealDifferences {
    std::vector<std::string> added, modified, missing;
    bool none() const { return added.empty() && modified.empty() && missing.empty(); }
};

/// Compares files and links with the seal. Nested code is handed to `nestedHolds` with what the
/// seal says of it; what does not hold counts as modified there.
SealDifferences compareWithSeal(const BundleLayout& layout, const ResourceSeal& seal,
    const std::function<bool(const SealCandidate&, const NestedCode&)>& nestedHolds);

} // namespace codesign
