#pragma once

#include "hfsplus/ScannedObject.h"
#include "hfsplus/SourceError.h"

#include <filesystem>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace hfsplus {

/// What a folder holds, as a volume is to hold it: a compact list, breadth first, the children of
/// each folder in the catalog's order whatever order the host lists them in. Links are never
/// followed, except that the folder itself may be one. AppleDouble companions count as metadata
/// of their files.
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
    struct Listing;
    using FileIdentity = std::pair<uint64_t, uint64_t>; // device, inode

    void scanFolder(uint32_t index);
    /// Appends the object; reports it and appends nothing when a volume can't hold it.
    void addChild(const Listing& folder, uint32_t parent, const std::string& hostName);
    void addMetadata(ScannedObject& object, const std::filesystem::path& path);
    void noteLink(const FileIdentity& identity);
    void dropSingleLinks();
    void report(std::filesystem::path path, std::string reason);
    std::string_view hostName(const ScannedObject& object) const;

    std::filesystem::path m_root;
    uint64_t m_largestInline;
    std::vector<ScannedObject> m_objects;
    std::string m_names; // the host's names, one behind the other
    std::vector<ScannedMetadata> m_metadata;
    std::vector<std::vector<uint32_t>> m_linkGroups;
    std::map<FileIdentity, uint32_t> m_groupOfFile; // while scanning
    std::vector<SourceError::Problem> m_problems;
};

} // namespace hfsplus
