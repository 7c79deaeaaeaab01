#pragma once

#include "udif/ImageFormat.h"
#include "udif/UdifRecords.h"

#include <span>
#include <string>
#include <vector>

namespace udif {

/// A run of sectors and how it is stored. Terminator and comments are not kept.
struct Chunk {
    ChunkType type = ChunkType::zeros;
    uint64_t firstSector = 0; // from the table's first one
    uint64_t sectorCount = 0;
    uint64_t offset = 0; // of the stored bytes in the data fork; without such bytes it says nothing
    uint64_t length = 0; // of the stored bytes; 0 where nothing is stored

    bool isStored() const { return type != ChunkType::zeros && type != ChunkType::ignored; }
    friend bool operator==(const Chunk&, const Chunk&) = default;
};

/// The part of a disk that one 'blkx' resource describes: a partition, a table of the map, a gap.
/// The chunks cover it in order and without gaps.
struct BlockTable {
    int32_t id = 0;
    std::string name{}; // "disk image (Apple_HFS : 4)"
    uint64_t firstSector = 0;
    uint64_t sectorCount = 0;
    uint32_t buffersNeeded = 0;
    uint32_t descriptor = 0;
    StoredChecksum checksum{};
    std::vector<Chunk> chunks{};

    friend bool operator==(const BlockTable&, const BlockTable&) = default;
};

/// The largest disk that is accepted, so that byte counts stay far from overflow.
inline constexpr uint64_t sectorLimit = uint64_t{1} << 52;
/// A decoder needs the whole chunk in memory; images have chunks of 256 KiB or 1 MiB.
inline constexpr uint64_t decodedChunkLimit = uint64_t{16} << 20;

/// Reads a 'mish' record and checks that its chunks cover the table and, where they are stored, lie
/// within a data fork of `dataForkLength` bytes. ID and name are the caller's. Throws FormatError.
BlockTable readBlockTable(std::span<const std::byte> raw, uint64_t dataForkLength);
std::vector<std::byte> writeBlockTable(const BlockTable& table);

} // namespace udif
