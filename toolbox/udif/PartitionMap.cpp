#include "udif/PartitionMap.h"

#include "bytes/ByteDevice.h"
#include "bytes/StoredInteger.h"
#include "udif/ApplePartitionMap.h"
#include "udif/GuidPartitionTable.h"

#include <algorithm>
#include <optional>

namespace udif {

namespace {

constexpr uint64_t volumeHeaderOffset = 1024;
constexpr uint16_t hfsPlusSignature = 0x482B; // "H+"
constexpr uint16_t hfsxSignature = 0x4858; // "HX"

struct MbrEntry {
    std::byte status{};
    std::array<std::byte, 3> start{};
    std::byte type{};
    std::array<std::byte, 3> end{};
    bytes::le32 firstSector{}, sectorCount{};
};

struct MasterBootRecord {
    std::array<std::byte, 446> code{};
    std::array<MbrEntry, 4> entries{};
    bytes::le16 signature{}; // 0xAA55
};
static_assert(sizeof(MasterBootRecord) == 512 && bytes::isStoredRecord<MasterBootRecord>);

struct MbrType {
    uint8_t code;
    std::string_view name;
};

constexpr std::array mbrTypes{
    MbrType{0xAF, "Apple_HFS"},
    MbrType{0xA8, "Apple_UFS"},
    MbrType{0xAB, "Apple_Boot"},
    MbrType{0x01, "DOS_FAT_12"},
    MbrType{0x04, "DOS_FAT_16"},
    MbrType{0x06, "DOS_FAT_16"},
    MbrType{0x0B, "DOS_FAT_32"},
    MbrType{0x0C, "DOS_FAT_32"},
    MbrType{0x07, "Windows_NTFS"},
    MbrType{0x82, "Linux_Swap"},
    MbrType{0x83, "Linux"},
    MbrType{0xEE, "GPT"},
};

std::string mbrTypeName(std::byte code)
{
    for (const MbrType& row : mbrTypes)
        if (static_cast<std::byte>(row.code) == code)
            return std::string(row.name);
    return "MBR type " + std::to_string(std::to_integer<int>(code));
}

std::optional<PartitionMap> readMasterBootRecord(const bytes::ByteSource& disk)
{
    const uint64_t sectors = disk.size() / sectorBytes;
    if (sectors == 0)
        return {};
    const auto record = bytes::recordAt<MasterBootRecord>(disk.read(0, sectorBytes));
    if (record.signature != 0xAA55)
        return {};

    PartitionMap map{.scheme = PartitionScheme::masterBootRecord,
        .areas = {{"Master Boot Record", "MBR", 0, 1}}};
    uint32_t slice = 0;
    for (const MbrEntry& entry : record.entries) {
        ++slice;
        if (entry.type == std::byte{0})
            continue;
        // The start sector of a FAT volume has the signature too, but text in this place.
        const bool plausible = (entry.status & std::byte{0x7F}) == std::byte{0}
            && entry.firstSector != 0 && entry.firstSector < sectors;
        if (!plausible)
            return {};
        Partition partition{.type = mbrTypeName(entry.type),
            .slice = slice,
            .firstSector = entry.firstSector,
            .sectorCount = std::min<uint64_t>(entry.sectorCount, sectors - entry.firstSector)};
        partition.typeID = partition.type;
        partition.holdsHfsPlus =
            hasHfsPlusHeader(disk, partition.firstSector, partition.sectorCount);
        map.partitions.push_back(std::move(partition));
    }
    if (map.partitions.empty())
        return {};
    return map;
}

PartitionMap bareVolume(uint64_t sectorCount)
{
    return {.scheme = PartitionScheme::bare,
        .partitions = {{.name = "whole disk",
            .type = "Apple_HFS",
            .typeID = "Apple_HFS",
            .sectorCount = sectorCount,
            .holdsHfsPlus = true}}};
}

} // namespace

bool hasHfsPlusHeader(const bytes::ByteSource& disk, uint64_t firstSector, uint64_t sectorCount)
{
    const uint64_t sectors = disk.size() / sectorBytes;
    if (sectorCount < 4 || firstSector > sectors || sectors - firstSector < 4)
        return false;
    const auto raw = disk.read(firstSector * sectorBytes + volumeHeaderOffset, 2);
    const uint16_t signature = bytes::recordAt<bytes::be16>(raw);
    return signature == hfsPlusSignature || signature == hfsxSignature;
}

const Partition* PartitionMap::hfsPlusPartition() const
{
    const auto found = std::ranges::find_if(partitions, &Partition::holdsHfsPlus);
    return found == partitions.end() ? nullptr : &*found;
}

PartitionMap readPartitionMap(const bytes::ByteSource& disk)
{
    if (auto map = readGuidPartitionTable(disk))
        return *map;
    if (auto map = readApplePartitionMap(disk))
        return *map;
    const uint64_t sectors = disk.size() / sectorBytes;
    if (hasHfsPlusHeader(disk, 0, sectors))
        return bareVolume(sectors);
    if (auto map = readMasterBootRecord(disk))
        return *map;
    return {};
}

std::string_view contentOf(PartitionScheme scheme)
{
    switch (scheme) {
    case PartitionScheme::guid:
        return "GUID_partition_scheme";
    case PartitionScheme::apple:
        return "Apple_partition_scheme";
    case PartitionScheme::masterBootRecord:
        return "FDisk_partition_scheme";
    case PartitionScheme::bare:
    case PartitionScheme::unknown:
        break;
    }
    return {};
}

std::string_view nameOf(PartitionScheme scheme)
{
    switch (scheme) {
    case PartitionScheme::guid:
        return "GUID";
    case PartitionScheme::apple:
        return "Apple";
    case PartitionScheme::masterBootRecord:
        return "fdisk";
    case PartitionScheme::bare:
    case PartitionScheme::unknown:
        break;
    }
    return "none";
}

} // namespace udif
