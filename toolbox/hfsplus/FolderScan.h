#pragma once

#include "hfsplus/FolderListing.h"
#include "hfsplus/ScannedObject.h"
#include "hfsplus/SourceError.h"

#include <filesystem>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hfsplus {

/// What a folder holds to its depths, as a volume is to hold it: a compact list, breadth first, the
/// children of each folder in the catalog's order whatever order the host lists them in. Links are
/// never followed, except that the folder itself may be one. AppleDouble companions count as
/// metadata of their files.
class FolderScan {
public:
    /// Values up to `largestInline` bytes are kept in memory. Throws SourceError with everything
    /// that can't go into a volume: sockets, pipes, devices, unreadable files, names too long, two
    /// names in one folder that a volume takes for one.
    FolderScan(const std::filesystem::path& folder, uint64_t largestInline);

    /// The root is at 0.
    std::span<const ScannedObject> objects() const { return m_objects; }
    std::filesystem::path path(uint32_t index) const;
    /// The name on the volume.
    std::u16string name(const ScannedObject& object) const;
    /// None for an object that has no more than its bytes.
    const ScannedMetadata* metadata(const ScannedObject& object) const;
    /// Indices of the objects that are one file; two at least in each group.
    std::span<const std::vector<uint32_t>> linkGroups() const { return m_linkGroups; }

private:
    /// One whose children are not in the list yet.
    struct Folder {
        uint32_t index = 0;
        std::string path;
    };

    /// Lists folders of one depth on several threads; gives those that they hold.
    std::vector<Folder> scanLevel(const std::vector<Folder>& level);
    void add(const Folder& folder, FolderListing listing, std::vector<Folder>& next);
    void keepMetadata(ScannedObject& object, std::optional<ScannedMetadata> metadata);
    void noteLink(const FolderListing::FileIdentity& identity);
    void dropSingleLinks();
    void report(std::vector<SourceError::Problem> problems);
    std::string_view hostName(const ScannedObject& object) const;

    std::filesystem::path m_root;
    uint64_t m_largestInline;
    std::vector<ScannedObject> m_objects;
    std::string m_names; // the host's names, one behind the other
    std::vector<ScannedMetadata> m_metadata;
    std::vector<std::vector<uint32_t>> m_linkGroups;
    std::map<FolderListing::FileIdentity, uint32_t> m_groupOfFile; // while scanning
    std::vector<SourceError::Problem> m_problems;
};

} // namespace hfsplus
