#pragma once

#include "hfsplus/BlockRun.h"
#include "hfsplus/VolumeRecords.h"

#include <cstdint>

namespace hfsplus {

/// What a volume has to hold, in bytes and blocks.
struct VolumeNeeds {
    uint32_t blockSize = 4096; // bytes, a power of two of at least 512
    uint64_t extentsTree = 0, attributesTree = 0, catalogTree = 0; // bytes
    uint32_t contentBlocks = 0;
    uint64_t slack = 0; // bytes to stay free at least
    uint64_t wantedSize = 0; // bytes of the volume; 0 = as many as the rest takes
};

/// Where the parts of a fresh volume lie: each is one run of blocks, everything free is behind the
/// content, and the last blocks hold the alternate header.
struct VolumeLayout {
    uint32_t blockSize = 0, totalBlocks = 0, freeBlocks = 0;
    BlockRun bitmap, extentsTree, attributesTree, catalogTree, content;

    /// Throws std::system_error: ENOSPC when the wanted size is too small, EFBIG past 2^32 blocks.
    static VolumeLayout forNeeds(const VolumeNeeds& needs);

    uint64_t volumeBytes() const { return uint64_t{totalBlocks} * blockSize; }
    /// Blocks at the volume's end that nothing may use.
    uint32_t tailBlocks() const;
    /// How much a special file grows by; a larger one would be refused on a small volume.
    uint32_t clumpSize() const;
    /// A fork of `size` bytes in one extent from `firstBlock` on.
    ForkData fork(uint64_t size, uint32_t firstBlock) const;
    /// A special file that fills `run`.
    ForkData specialFile(const BlockRun& run) const;
};

} // namespace hfsplus
