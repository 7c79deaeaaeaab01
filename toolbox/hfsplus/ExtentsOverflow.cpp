#include "hfsplus/ExtentsOverflow.h"

#include "bytes/FormatError.h"

#include <algorithm>
#include <tuple>

namespace hfsplus {

void ExtentsOverflow::add(const TreeRecord& record)
{
    if (record.key.size() != sizeof(ExtentKey) || record.data.size() < sizeof(ExtentRecord))
        throw bytes::FormatError("an extents record has the wrong length", record.dataOffset);
    const auto key = bytes::recordAt<ExtentKey>(record.key);
    m_parts.push_back({.file = key.fileID,
        .forkType = key.forkType,
        .startBlock = key.startBlock,
        .extents = bytes::recordAt<ExtentRecord>(record.data)});
    const auto order = [](const Part& part) {
        return std::tuple(part.file, part.forkType, part.startBlock);
    };
    if (m_parts.size() > 1 && order(m_parts.end()[-2]) >= order(m_parts.back()))
        throw bytes::FormatError("extents records are out of order", record.dataOffset);
}

const ExtentsOverflow::Part* ExtentsOverflow::find(
    CatalogID file, uint8_t forkType, uint32_t startBlock) const
{
    const auto wanted = std::tuple(file, forkType, startBlock);
    const auto found = std::lower_bound(
        m_parts.begin(), m_parts.end(), wanted, [](const Part& part, const auto& key) {
            return std::tuple(part.file, part.forkType, part.startBlock) < key;
        });
    const bool same = found != m_parts.end()
        && std::tuple(found->file, found->forkType, found->startBlock) == wanted;
    return same ? &*found : nullptr;
}

std::vector<BlockRun> ExtentsOverflow::runs(
    CatalogID file, uint8_t forkType, const ForkData& fork, uint32_t volumeBlocks) const
{
    std::vector<BlockRun> runs = runsOf(fork.extents, volumeBlocks);
    uint64_t blocks = blocksIn(runs);
    while (blocks < fork.totalBlocks) {
        const Part* part = find(file, forkType, static_cast<uint32_t>(blocks));
        const auto more = part ? runsOf(part->extents, volumeBlocks) : std::vector<BlockRun>();
        if (more.empty())
            throw bytes::FormatError("file " + std::to_string(file) + " has only "
                + std::to_string(blocks) + " of its " + std::to_string(fork.totalBlocks)
                + " blocks");
        runs.insert(runs.end(), more.begin(), more.end());
        blocks += blocksIn(more);
    }
    if (blocks != fork.totalBlocks)
        throw bytes::FormatError("file " + std::to_string(file) + " has " + std::to_string(blocks)
            + " blocks instead of " + std::to_string(fork.totalBlocks));
    return runs;
}

} // namespace hfsplus
