#include "FuzzInput.h"

#include "SparseInput.h"
#include "bytes/ByteDevice.h"
#include "bytes/Crc32.h"
#include "bytes/StoredInteger.h"
#include "udif/PartitionMap.h"

#include <algorithm>

using namespace udif;
using bytes::le32;
using bytes::le64;

namespace {

constexpr std::size_t headerOffset = sectorBytes;
constexpr std::size_t headerCrcAt = 16, firstEntryAt = 72, entryCountAt = 80, entrySizeAt = 84,
                      tableCrcAt = 88;

/// No mutation would ever hit upon a right checksum, and what it guards would stay unread: both
/// checksums of the primary table are made right.
void repairChecksums(std::vector<std::byte>& disk)
{
    if (disk.size() < 2 * sectorBytes)
        return;
    const auto header = std::span(disk).subspan(headerOffset, sectorBytes);
    const auto put = [&](std::size_t at, uint32_t value) {
        std::ranges::copy(bytes::recordBytes(le32(value)), header.begin() + std::ptrdiff_t(at));
    };
    const uint64_t headerSize = bytes::recordAt<le32>(header.subspan(12));
    const uint64_t first = bytes::recordAt<le64>(header.subspan(firstEntryAt));
    const uint64_t bytesOfTable = uint64_t{bytes::recordAt<le32>(header.subspan(entryCountAt))}
        * bytes::recordAt<le32>(header.subspan(entrySizeAt));
    if (headerSize < 92 || headerSize > sectorBytes)
        return;
    if (first < disk.size() / sectorBytes && bytesOfTable <= disk.size() - first * sectorBytes)
        put(tableCrcAt, bytes::crc32(std::span(disk).subspan(first * sectorBytes, bytesOfTable)));
    put(headerCrcAt, 0);
    put(headerCrcAt, bytes::crc32(header.first(headerSize)));
}

} // namespace

// The start of a raw disk, see SparseInput.
FUZZ_TARGET(partition_map, input)
{
    std::vector<std::byte> disk = fuzz::expanded(input);
    repairChecksums(disk);
    const bytes::MemoryDevice source(std::move(disk));
    const uint64_t sectors = source.size() / sectorBytes;
    fuzz::accepts([&] {
        const PartitionMap map = readPartitionMap(source);
        if (map.scheme == PartitionScheme::unknown)
            throw bytes::FormatError("no map");
        for (const Partition& partition : map.partitions)
            fuzz::insist(partition.firstSector <= sectors
                    && partition.sectorCount <= sectors - partition.firstSector,
                "partitions lie on the disk");
    });
}
