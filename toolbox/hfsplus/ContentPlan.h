#pragma once

#include "hfsplus/FolderScan.h"
#include "hfsplus/VolumeRecords.h"

#include <functional>
#include <vector>

namespace hfsplus {

/// Which ID each scanned object gets and where the bytes of its forks go, counted from the first
/// block behind the trees. Each fork is one extent and they follow one another without a gap, in
/// the order in which `eachFork` visits them. Borrows the scan.
class ContentPlan {
public:
    /// Bytes that a file has outside of the trees.
    struct Fork {
        enum class Kind { data, resource, attribute } kind;
        uint64_t size; // bytes, never 0
        uint32_t firstBlock; // counted from the content's first
        const ScannedAttribute* attribute; // of an attribute only
    };

    /// Throws SourceError when the content has more blocks than a volume can number.
    ContentPlan(const FolderScan& scan, uint32_t blockSize);

    const FolderScan& scan() const { return m_scan; }
    uint32_t blockSize() const { return m_blockSize; }
    uint32_t blockCount() const { return m_blockCount; }

    CatalogID idOf(uint32_t index) const
    {
        return index == 0 ? rootFolderID : firstUserID - 1 + index;
    }
    /// Hard links keep their content in files of their own, in a private folder behind all others.
    bool hasHardLinks() const { return !m_scan.linkGroups().empty(); }
    CatalogID privateFolderID() const { return firstUserID - 1 + objectCount(); }
    CatalogID linkedFileID(uint32_t group) const { return privateFolderID() + 1 + group; }
    CatalogID nextID() const;

    uint32_t fileCount() const;
    uint32_t folderCount() const; // without the root

    /// False for the second and later names of a file.
    bool holdsContent(uint32_t index) const;
    void eachFork(uint32_t index, const std::function<void(const Fork&)>& use) const;

private:
    uint32_t objectCount() const { return static_cast<uint32_t>(m_scan.objects().size()); }

    const FolderScan& m_scan;
    uint32_t m_blockSize;
    uint32_t m_blockCount = 0;
    std::vector<uint32_t> m_firstBlocks; // of each object's first fork
};

} // namespace hfsplus
