#pragma once

#include "hfsplus/BlockUse.h"
#include "hfsplus/TreeNode.h"

#include <optional>
#include <tuple>

namespace hfsplus {

/// Checks forks: that their extents lie in the volume, sum up, hold the fork's bytes and share no
/// block. Knows what the extents tree adds.
class ForkChecker {
public:
    /// Borrows source and findings.
    ForkChecker(const bytes::ByteSource& source, const VolumeHeader& header, Findings& findings);

    BlockUse& use() { return m_use; }
    /// Takes over one record of the extents tree.
    void addOverflow(const TreeRecord& record);

    /// Checks one fork and claims its blocks. Gives a reader of it where it is sound.
    std::optional<ForkReader> check(
        CatalogID file, uint8_t forkType, const ForkData& fork, const std::string& who);
    /// The same for an attribute's, whose further extents lie beside it.
    void checkAttribute(uint64_t logicalSize, uint32_t totalBlocks,
        const std::vector<ExtentRecord>& extents, const std::string& who);
    /// Reports what is left of the extents tree when all forks are checked.
    void finish();

private:
    using OverflowKey = std::tuple<CatalogID, uint8_t, uint32_t>;

    /// Appends the runs of `extents` and says how many blocks they have; none when they can't be
    /// right.
    std::optional<uint64_t> append(
        const ExtentRecord& extents, const std::string& who, std::vector<BlockRun>& runs);
    bool checkSum(uint64_t logicalSize, uint32_t totalBlocks, const std::vector<BlockRun>& runs,
        const std::string& who);

    const bytes::ByteSource& m_source;
    uint32_t m_blockSize, m_totalBlocks;
    Findings& m_findings;
    BlockUse m_use;
    std::map<OverflowKey, ExtentRecord> m_overflow; // not used by a fork yet
};

} // namespace hfsplus
