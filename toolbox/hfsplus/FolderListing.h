#pragma once

#include "hfsplus/ScannedObject.h"
#include "hfsplus/SourceError.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace hfsplus {

/// What one folder of the host holds, as a volume is to hold it: in the catalog's order whatever
/// order the host lists it in. AppleDouble companions count as metadata of their files.
struct FolderListing {
    using FileIdentity = std::pair<uint64_t, uint64_t>; // device, inode

    struct Child {
        std::u16string name; // on the volume
        std::string hostName;
        ScannedObject object{}; // whose place in the scan isn't known yet
        std::optional<ScannedMetadata> metadata{}; // none for one that has no more than its bytes
        std::optional<FileIdentity> identity{}; // of a file with several names
    };

    std::vector<Child> children{};
    std::optional<ScannedMetadata> ownMetadata{}; // of a folder that holds its own companion
    std::vector<SourceError::Problem> problems{}; // with what can't go into a volume

    /// `isRoot`: the folder may be a link, and the names that a volume keeps for itself are
    /// problems. Values of attributes up to `largestInline` bytes are kept.
    static FolderListing of(const std::string& path, bool isRoot, uint64_t largestInline);
};

/// The root of a scan, which may be a link. Throws SourceError, also for what is no folder.
FolderListing::Child rootOfScan(const std::string& path, uint64_t largestInline);

} // namespace hfsplus
