#pragma once

#include "codesign/PendingChanges.h"
#include "codesign/SignatureMaker.h"
#include "macho/MachOFile.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace codesign {

/// Code that a run has signed, or that was signed before: what others need to know of it.
struct SignedCode {
    std::string identifier;
    std::string format; // "Mach-O thin (arm64)", "disk image", ...
    Digest hash; // of the slice that a current Mac runs
    std::vector<Digest> hashes; // of every slice and code directory, that slice's first
    std::string requirement; // the designated one, as text
};

/// What a Mach-O file's signature shall say beyond its code.
struct MachOTarget {
    std::string identifier;
    uint32_t flags = 0; // of the code directories
    std::map<Slot, std::vector<std::byte>> covered; // Info.plist and seal of its bundle
};

/// Puts a new version of the file at `path`, signed slice by slice, among the pending changes.
/// Throws bytes::FormatError for what is no sound Mach-O file or has no room.
SignedCode signMachO(const std::filesystem::path& path, const MachOTarget& target,
    const Signer& signer, PendingChanges& pending);

/// The same without any signature.
void removeSignatures(const std::filesystem::path& path, PendingChanges& pending);

/// Whether a system that runs a slice of `file` needs SHA-1 too.
bool needsOldHashes(const macho::MachOFile& file);

/// How people write the designated requirement of code with these hashes.
std::string requirementTextOf(
    const std::optional<Expression>& designated, const std::vector<Digest>& hashes);

} // namespace codesign
