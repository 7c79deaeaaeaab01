#pragma once

#include "bytes/File.h"
#include "hfsplus/BlockAllocator.h"
#include "hfsplus/HostFolder.h"
#include "hfsplus/TreeEdit.h"

#include <string>

namespace hfsplus {

/// The bytes of a fork to be written: a file of the host, or bytes in memory.
struct ForkContent {
    uint64_t size = 0;
    std::string hostPath; // below the laid-out folder; empty for bytes in memory
    std::vector<std::byte> bytes = {};
};

/// Plans where forks go on a volume that is being changed, and writes them when all is planned.
class ForkStore {
public:
    ForkStore(uint32_t blockSize, BlockAllocator allocator, const bytes::ByteSource& extentsFile);

    BlockAllocator& allocator() { return m_allocator; }
    TreeEdit& overflow() { return m_overflow; }
    uint32_t blockSize() const { return m_blockSize; }
    uint32_t blocksFor(uint64_t size) const;

    /// Finds room for `content`, which is written later.
    std::vector<BlockRun> place(ForkContent content);
    /// The same for a fork of a file; what doesn't fit its record goes to the extents tree.
    ForkData store(CatalogID file, uint8_t forkType, ForkContent content);
    /// How a fork of these runs is recorded; `clumpSize` is taken over.
    ForkData describe(CatalogID file, uint8_t forkType, uint64_t size, uint32_t clumpSize,
        const std::vector<BlockRun>& runs);
    /// Gives the blocks of a fork back.
    void drop(CatalogID file, uint8_t forkType, const std::vector<BlockRun>& runs);

    /// Writes everything placed. When that fails, what was written so far is zeroed again.
    void write(bytes::ByteDevice& volume, const HostFolder& host) const;
    /// Zeros the blocks that are free by now, so that they compress and tell nothing.
    uint64_t zeroReleased(bytes::ByteDevice& volume) const;
    uint64_t placedBytes() const;

private:
    struct Placed {
        ForkContent content;
        std::vector<BlockRun> runs;
    };

    void forgetOverflow(CatalogID file, uint8_t forkType);
    void writeOne(bytes::ByteDevice& volume, const HostFolder& host, const Placed& placed) const;
    void zero(bytes::ByteDevice& volume, const BlockRun& run) const;

    uint32_t m_blockSize;
    BlockAllocator m_allocator;
    TreeEdit m_overflow;
    std::vector<Placed> m_placed;
};

/// Opens a plain file below `host`; a link in its place is refused.
bytes::File openHostFile(const HostFolder& host, const std::string& path);

} // namespace hfsplus
