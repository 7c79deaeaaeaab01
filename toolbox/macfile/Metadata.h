#pragma once

#include "macfile/FinderInfo.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace macfile {

/// What a Mac file or folder has beyond its bytes, dates and permissions.
struct Metadata {
    std::array<std::byte, 32> finderInfo{}; // all zero is the same as absent
    std::vector<std::byte> resourceFork; // empty is the same as absent
    /// By the Mac's names ("com.apple.quarantine"), at most 127 bytes of UTF-8. Finder information
    /// and resource fork never stand here.
    std::map<std::string, std::vector<std::byte>> attributes;

    bool empty() const;
    FinderInfo finder() const { return bytes::recordAt<FinderInfo>(finderInfo); }
    void setFinder(const FinderInfo& info);
    /// Sets or clears bits of the Finder's flags, see finderFlag.
    void setFinderFlags(uint16_t flags, bool on);

    friend bool operator==(const Metadata&, const Metadata&) = default;
};

/// What the host keeps for `path`; a link is not followed. Two places are looked at: the extended
/// attributes `user.NAME`, and an AppleDouble companion, `._NAME` beside the file; a folder may
/// also hold its own as `._.` (as a volume's root does). Where both know an item, the companion's
/// counts.
Metadata readMetadata(const std::filesystem::path& path);

/// Replaces all of it. Extended attributes take what host and size allow, the companion takes the
/// rest (a folder's lies inside the folder, so that it never leaves a volume's root); what is no
/// longer wanted goes, an empty companion too. Throws std::system_error, with EEXIST where a
/// companion is needed and an ordinary file has its name.
void writeMetadata(const std::filesystem::path& path, const Metadata& metadata);

/// True when `path` is named `._X`, X exists beside it, and the file is a sound AppleDouble; any
/// other file is one of its own.
bool isCompanion(const std::filesystem::path& path);

/// Deletes the companion of a plain file that is being removed or replaced; nothing happens when
/// there is none.
void removeCompanion(const std::filesystem::path& path);

} // namespace macfile
