#pragma once

#include "hfsplus/ForkReader.h"
#include "hfsplus/TreeNode.h"

namespace hfsplus {

/// What the extents tree knows: the runs of forks that have more than the eight of their own
/// record (Apple TN1150, "Extents Overflow File").
class ExtentsOverflow {
public:
    /// Takes over one leaf record of the tree. Throws FormatError when it is none of its kind.
    void add(const TreeRecord& record);

    /// All runs of a fork. Throws FormatError when one leaves the volume or when they don't sum up
    /// to the fork's blocks.
    std::vector<BlockRun> runs(
        CatalogID file, uint8_t forkType, const ForkData& fork, uint32_t volumeBlocks) const;

    bool empty() const { return m_parts.empty(); }

private:
    struct Part {
        CatalogID file;
        uint8_t forkType;
        uint32_t startBlock;
        ExtentRecord extents;
    };
    const Part* find(CatalogID file, uint8_t forkType, uint32_t startBlock) const;

    std::vector<Part> m_parts; // in the order of their keys
};

} // namespace hfsplus
