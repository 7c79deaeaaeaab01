#pragma once

#include "codesign/BundleLayout.h"
#include "codesign/SealRules.h"

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace codesign {

/// Something below a bundle's seal root that a rule takes into the seal.
struct SealCandidate {
    enum class Kind { file, link, nestedCode };

    Kind kind = Kind::file;
    std::string path; // below the seal root, with '/'
    std::filesystem::path location; // on the host
    std::string target; // of a link, as it stands there
    bool optional = false; // may be missing later
};

/// Everything that `rules` take into the seal, sorted by path. Links are never followed, the main
/// executable and the signature's own files are left out. Code is nested where a nested rule leads
/// to a Mach-O file or to a bundle; other files there are sealed as files. Throws
/// bytes::FormatError for what can't be sealed (a socket, a device). `ignored` are files on the
/// host that are taken for absent.
std::vector<SealCandidate> scanForSeal(const BundleLayout& layout, const SealRules& rules,
    const std::set<std::filesystem::path>& ignored = {});

/// Only regular files, whatever a rule says of nested code: what old systems look at.
std::vector<SealCandidate> scanFilesForOldSeal(const BundleLayout& layout, const SealRules& rules,
    const std::set<std::filesystem::path>& ignored = {});

/// True for a Mach-O file and for a bundle that has an executable to sign.
bool isCode(const std::filesystem::path& path);

} // namespace codesign
