#pragma once

#include "hfsplus/BlockRun.h"

#include <cstddef>
#include <map>
#include <span>
#include <vector>

namespace hfsplus {

/// Decides which blocks of a volume new data goes to. Blocks released meanwhile are taken only
/// when no others are left, so that a write that fails halfway has spoilt nothing.
class BlockAllocator {
public:
    /// Takes over the volume's bitmap, which must have a bit for each block; `cursor` is where
    /// the search starts. The blocks of `frame` (headers, trees) are never given out nor back.
    /// Throws bytes::FormatError for free room in millions of pieces.
    BlockAllocator(std::vector<std::byte> bitmap, uint32_t totalBlocks, uint32_t cursor,
        std::span<const BlockRun> frame);

    /// `count` blocks, in one run where there is one. Throws NoSpaceCondition when fewer are free.
    std::vector<BlockRun> allocate(uint32_t count);
    /// Throws bytes::FormatError for blocks that aren't in use or belong to the frame: two forks
    /// share them, and nothing may be decided about such a volume.
    void release(std::span<const BlockRun> runs);

    uint32_t freeBlocks() const { return m_freeBlocks; }
    uint32_t cursor() const { return m_cursor; }
    const std::vector<std::byte>& bitmap() const { return m_bitmap; }
    /// What was released and not given out again.
    std::vector<BlockRun> released() const;

    struct NoSpaceCondition {
        uint64_t neededBlocks; // by everything since the first allocation
        uint64_t freeBlocks;
    };

private:
    using Runs = std::map<uint32_t, uint32_t>; // start -> count

    void findFreeRuns(uint32_t totalBlocks);
    Runs::iterator runWith(uint32_t count);
    /// Takes up to `count` blocks from the head of `run`.
    BlockRun take(Runs& from, Runs::iterator run, uint32_t count);
    void gather(Runs& from, uint32_t& missing, std::vector<BlockRun>& out);
    void mark(const BlockRun& run, bool used);

    bool isUsed(uint32_t block) const;
    void requireReleasable(const BlockRun& run) const;

    std::vector<std::byte> m_bitmap;
    std::vector<BlockRun> m_frame;
    Runs m_free, m_released;
    uint32_t m_cursor;
    uint32_t m_freeBlocks = 0; // released ones included
    uint64_t m_allocated = 0;
};

} // namespace hfsplus
