#include "udif/ApplePartitionMap.h"

#include "bytes/ByteDevice.h"
#include "bytes/StoredInteger.h"

#include <algorithm>
#include <array>

namespace udif {

namespace {

constexpr uint16_t driverSignature = 0x4552; // "ER"
constexpr uint16_t entrySignature = 0x504D; // "PM"
constexpr uint32_t partitionLimit = 256;

struct DriverDescriptor {
    bytes::be16 signature{}, blockSize{};
    bytes::be32 blockCount{};
};

struct MapEntry {
    bytes::be16 signature{}, reserved{};
    bytes::be32 entries{}; // in the whole map
    bytes::be32 firstBlock{}, blockCount{};
    std::array<char, 32> name{}, type{}; // zero-padded
};
static_assert(sizeof(MapEntry) == 80 && bytes::isStoredRecord<MapEntry>);

std::string textOf(const std::array<char, 32>& field)
{
    std::string text;
    for (const char letter : field) {
        if (letter == '\0')
            break;
        // Names are MacRoman; what lies beyond ASCII only ever shows up in a message.
        const bool plain = letter >= 0x20 && letter < 0x7F;
        text += plain ? letter : '?';
    }
    return text;
}

std::optional<MapEntry> entryAt(const bytes::ByteSource& disk, uint64_t offset)
{
    if (offset > disk.size() || disk.size() - offset < sectorBytes)
        return {};
    const auto entry = bytes::recordAt<MapEntry>(disk.read(offset, sizeof(MapEntry)));
    if (entry.signature != entrySignature)
        return {};
    return entry;
}

/// The distance of two map entries: sectors, even on many optical discs, else the disc's blocks.
std::optional<uint64_t> unitOf(const bytes::ByteSource& disk)
{
    if (disk.size() < 2 * sectorBytes)
        return {};
    const auto driver = bytes::recordAt<DriverDescriptor>(disk.read(0, sizeof(DriverDescriptor)));
    if (driver.signature != driverSignature)
        return {};
    for (const uint64_t unit : {sectorBytes, uint64_t{driver.blockSize}})
        if (unit != 0 && unit % sectorBytes == 0 && entryAt(disk, unit))
            return unit;
    return {};
}

} // namespace

std::optional<PartitionMap> readApplePartitionMap(const bytes::ByteSource& disk)
{
    const auto unit = unitOf(disk);
    if (!unit)
        return {};
    const uint64_t sectors = disk.size() / sectorBytes;
    const uint32_t count = entryAt(disk, *unit)->entries;
    if (count == 0 || count > partitionLimit)
        return {};

    PartitionMap map{.scheme = PartitionScheme::apple,
        .areas = {{"Driver Descriptor Map", "DDM", 0, *unit / sectorBytes}}};
    for (uint32_t index = 1; index <= count; ++index) {
        const auto entry = entryAt(disk, index * *unit);
        if (!entry)
            return {};
        Partition partition{.name = textOf(entry->name),
            .type = textOf(entry->type),
            .slice = index,
            .firstSector = entry->firstBlock * (*unit / sectorBytes),
            .sectorCount = entry->blockCount * (*unit / sectorBytes)};
        if (partition.firstSector > sectors
            || sectors - partition.firstSector < partition.sectorCount)
            return {};
        partition.typeID = partition.type;
        partition.holdsHfsPlus = partition.type != "Apple_Free"
            && hasHfsPlusHeader(disk, partition.firstSector, partition.sectorCount);
        map.partitions.push_back(std::move(partition));
    }
    return map;
}

} // namespace udif
