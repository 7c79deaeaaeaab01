#pragma once

#include "bytes/StoredInteger.h"

#include <array>
#include <cstdint>

/// The fixed records of a UDIF image, big-endian, as they lie in the file.
namespace udif {

inline constexpr uint32_t kolySignature = 0x6B6F6C79; // "koly"
inline constexpr uint32_t mishSignature = 0x6D697368; // "mish"

/// Kinds of checksum; there are more, which nobody writes for images of this kind today.
enum class ChecksumType : uint32_t { none = 0, crc32 = 2 };

struct StoredChecksum {
    bytes::be32 type{}; // ChecksumType
    bytes::be32 bits{};
    bytes::be32 value{}; // where it is a CRC
    std::array<std::byte, 124> rest{};

    static StoredChecksum ofCrc(uint32_t crc)
    {
        StoredChecksum checksum;
        checksum.type = static_cast<uint32_t>(ChecksumType::crc32);
        checksum.bits = 32;
        checksum.value = crc;
        return checksum;
    }
    bool isCrc() const { return type == static_cast<uint32_t>(ChecksumType::crc32) && bits == 32; }

    friend bool operator==(const StoredChecksum&, const StoredChecksum&) = default;
};
static_assert(sizeof(StoredChecksum) == 136 && bytes::isStoredRecord<StoredChecksum>);

/// The last 512 bytes of the file.
struct KolyTrailer {
    bytes::be32 signature{}, version{}, headerSize{}, flags{};
    bytes::be64 runningDataForkOffset{}, dataForkOffset{}, dataForkLength{};
    bytes::be64 resourceForkOffset{}, resourceForkLength{};
    bytes::be32 segmentNumber{}, segmentCount{};
    std::array<std::byte, 16> segmentID{};
    StoredChecksum dataForkChecksum{}; // of the data fork's bytes as stored
    bytes::be64 xmlOffset{}, xmlLength{};
    std::array<std::byte, 64> reserved1{};
    bytes::be64 signatureOffset{}, signatureLength{}; // of a code signature; zero without one
    std::array<std::byte, 40> reserved2{};
    StoredChecksum masterChecksum{}; // of the tables' checksums, each as four bytes
    bytes::be32 variant{}; // ImageVariant
    bytes::be64 sectorCount{}; // of the whole disk
    std::array<std::byte, 12> reserved3{};

    friend bool operator==(const KolyTrailer&, const KolyTrailer&) = default;
};
static_assert(sizeof(KolyTrailer) == 512 && bytes::isStoredRecord<KolyTrailer>);

enum class ImageVariant : uint32_t { device = 1, partition = 2 };

/// The head of a block table; `entryCount` ChunkRecords follow.
struct BlockTableHeader {
    bytes::be32 signature{}, version{};
    bytes::be64 firstSector{}, sectorCount{};
    bytes::be64 dataOffset{}; // added to the offset of each chunk
    bytes::be32 buffersNeeded{}; // sectors that a decoder should have room for
    bytes::be32 descriptor{};
    std::array<std::byte, 24> reserved{};
    StoredChecksum checksum{}; // of the decoded sectors
    bytes::be32 entryCount{}; // the terminator included
};
static_assert(sizeof(BlockTableHeader) == 204 && bytes::isStoredRecord<BlockTableHeader>);

struct ChunkRecord {
    bytes::be32 type{}; // ChunkType
    bytes::be32 comment{};
    bytes::be64 firstSector{}; // from the table's first one
    bytes::be64 sectorCount{};
    bytes::be64 offset{}, length{}; // of the stored bytes
};
static_assert(sizeof(ChunkRecord) == 40 && bytes::isStoredRecord<ChunkRecord>);

} // namespace udif
