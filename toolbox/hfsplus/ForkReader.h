#pragma once

#include "bytes/ByteDevice.h"
#include "hfsplus/BlockRun.h"
#include "hfsplus/Records.h"

#include <algorithm>
#include <vector>

namespace hfsplus {

/// The runs that an extent record names, up to its first unused one. Throws FormatError when one
/// leaves the `volumeBlocks` blocks of the volume.
std::vector<BlockRun> runsOf(const ExtentRecord& extents, uint32_t volumeBlocks);

/// The number of blocks in `runs`.
uint64_t blocksIn(const std::vector<BlockRun>& runs);

/// The bytes of one fork, gathered from its runs. Borrows the volume; reads may come from several
/// threads.
class ForkReader final : public bytes::ByteSource {
public:
    /// Throws FormatError when the runs hold less than `logicalSize` bytes.
    ForkReader(const bytes::ByteSource& volume, uint32_t blockSize, std::vector<BlockRun> runs,
        uint64_t logicalSize);

    uint64_t size() const override { return m_size; }
    void readAt(uint64_t offset, std::span<std::byte> out) const override;

    const std::vector<BlockRun>& runs() const { return m_runs; }

    /// Calls `use(position in the fork, position in the volume, length)` for each piece of the
    /// range that lies in one run.
    template <typename Use>
    void eachPiece(uint64_t offset, uint64_t length, Use use) const
    {
        std::size_t at = runAt(offset);
        while (length > 0) {
            const uint64_t within = offset - m_starts[at];
            const uint64_t runBytes = uint64_t{m_runs[at].count} * m_blockSize;
            const uint64_t piece = std::min(length, runBytes - within);
            use(offset, uint64_t{m_runs[at].start} * m_blockSize + within, piece);
            offset += piece;
            length -= piece;
            ++at;
        }
    }

private:
    std::size_t runAt(uint64_t offset) const;

    const bytes::ByteSource& m_volume;
    uint32_t m_blockSize;
    std::vector<BlockRun> m_runs;
    std::vector<uint64_t> m_starts; // of each run within the fork, in bytes
    uint64_t m_size;
};

} // namespace hfsplus
