#include "hfsplus/ForkReader.h"

#include "bytes/FormatError.h"

#include <algorithm>

namespace hfsplus {

std::vector<BlockRun> runsOf(const ExtentRecord& extents, uint32_t volumeBlocks)
{
    std::vector<BlockRun> runs;
    for (const ExtentDescriptor& extent : extents) {
        const BlockRun run{extent.startBlock, extent.blockCount};
        if (run.count == 0)
            break;
        if (run.start > volumeBlocks || volumeBlocks - run.start < run.count)
            throw bytes::FormatError("an extent of " + std::to_string(run.count)
                + " blocks from block " + std::to_string(run.start) + " leaves the volume");
        runs.push_back(run);
    }
    return runs;
}

uint64_t blocksIn(const std::vector<BlockRun>& runs)
{
    uint64_t blocks = 0;
    for (const BlockRun& run : runs)
        blocks += run.count;
    return blocks;
}

ForkReader::ForkReader(const bytes::ByteSource& volume, uint32_t blockSize,
    std::vector<BlockRun> runs, uint64_t logicalSize)
    : m_volume(volume)
    , m_blockSize(blockSize)
    , m_runs(std::move(runs))
    , m_size(logicalSize)
{
    uint64_t start = 0;
    m_starts.reserve(m_runs.size());
    for (const BlockRun& run : m_runs) {
        m_starts.push_back(start);
        start += uint64_t{run.count} * blockSize;
    }
    if (start < logicalSize)
        throw bytes::FormatError("a fork of " + std::to_string(logicalSize) + " bytes has only "
            + std::to_string(start) + " bytes of blocks");
}

std::size_t ForkReader::runAt(uint64_t offset) const
{
    const auto next = std::upper_bound(m_starts.begin(), m_starts.end(), offset);
    return next == m_starts.begin() ? 0 : static_cast<std::size_t>(next - m_starts.begin()) - 1;
}

void ForkReader::readAt(uint64_t offset, std::span<std::byte> out) const
{
    if (offset > m_size || m_size - offset < out.size())
        throw bytes::FormatError("a range leaves its fork", offset);
    eachPiece(offset, out.size(), [&](uint64_t at, uint64_t place, uint64_t length) {
        m_volume.readAt(place,
            out.subspan(static_cast<std::size_t>(at - offset), static_cast<std::size_t>(length)));
    });
}

} // namespace hfsplus
