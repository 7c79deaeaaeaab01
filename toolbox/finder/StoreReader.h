#pragma once

#include "finder/DesktopStore.h"

#include <array>
#include <cstdint>

namespace finder {

/// Where a block lies: `offset` counts from byte 4 of the file, the size is 2^width.
struct BlockAddress {
    uint32_t offset = 0;
    unsigned width = 0;

    uint32_t size() const { return uint32_t{1} << width; }
    uint32_t packed() const { return offset | width; }
    static BlockAddress unpacked(uint32_t stored) { return {stored & ~31u, stored & 31u}; }

    friend bool operator==(const BlockAddress&, const BlockAddress&) = default;
};

/// Everything that a `.DS_Store` file says, its bookkeeping too.
struct StoreStructure {
    std::vector<BlockAddress> blocks; // by number; width 0 where there is none
    std::array<std::vector<uint32_t>, 32> freeLists; // offsets of free blocks, by width
    uint32_t statedRecords = 0, statedNodes = 0, statedLevels = 0;
    uint32_t nodes = 0, levels = 0; // as the walk found them
    std::vector<StoreRecord> records; // in the order of the walk
};

/// Reads the bytes of a file. Throws FormatError (offsets are file positions) for anything that
/// cannot be walked safely: what is read is bounded by the file's size. The order of records, the
/// free lists and the stated counts are reported, not judged.
StoreStructure readStoreStructure(std::span<const std::byte> file);

/// The same without the bookkeeping.
DesktopStore readStore(std::span<const std::byte> file);

} // namespace finder
