#include "udif/GuidPartitionTable.h"

#include "bytes/ByteDevice.h"
#include "bytes/Crc32.h"
#include "bytes/StoredInteger.h"
#include "bytes/Unicode.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>

namespace udif {

namespace {

constexpr uint64_t headerSignature = 0x5452415020494645; // "EFI PART", little-endian
constexpr uint32_t headerBytes = 92;
constexpr uint32_t entryBytes = 128;
constexpr uint32_t entryCount = 128;
constexpr uint64_t arraySectors = entryBytes * entryCount / sectorBytes;
constexpr uint64_t arrayLimit = uint64_t{1} << 20;

struct GptHeader {
    bytes::le64 signature{};
    bytes::le32 revision{}, headerSize{}, headerCrc{}, reserved{};
    bytes::le64 ownSector{}, otherSector{}, firstUsable{}, lastUsable{};
    Guid diskID{};
    bytes::le64 arraySector{};
    bytes::le32 count{}, size{}, arrayCrc{};
};
static_assert(sizeof(GptHeader) == headerBytes && bytes::isStoredRecord<GptHeader>);

struct GptEntry {
    Guid type{}, id{};
    bytes::le64 first{}, last{}, attributes{}; // `last` is part of the partition
    std::array<bytes::le16, 36> name{};
};
static_assert(sizeof(GptEntry) == entryBytes && bytes::isStoredRecord<GptEntry>);

struct TypeRow {
    Guid id{};
    std::string_view name;
};

constexpr std::array types{
    TypeRow{appleHfsType, "Apple_HFS"},
    TypeRow{Guid::of("7C3457EF-0000-11AA-AA11-00306543ECAC"), "Apple_APFS"},
    TypeRow{Guid::of("C12A7328-F81F-11D2-BA4B-00A0C93EC93B"), "EFI"},
    TypeRow{Guid::of("426F6F74-0000-11AA-AA11-00306543ECAC"), "Apple_Boot"},
    TypeRow{Guid::of("55465300-0000-11AA-AA11-00306543ECAC"), "Apple_UFS"},
    TypeRow{Guid::of("EBD0A0A2-B9E5-4433-87C0-68B6B72699C7"), "Microsoft Basic Data"},
    TypeRow{Guid::of("0FC63DAF-8483-4772-8E79-3D69D8477DE4"), "Linux Filesystem"},
};

std::string typeName(const Guid& id)
{
    const auto row = std::ranges::find(types, id, &TypeRow::id);
    return row == types.end() ? id.text() : std::string(row->name);
}

// ---- writing ---------------------------------------------------------------------------------

std::array<std::byte, sectorBytes> protectiveRecord(uint64_t diskSectors)
{
    // A single partition of type EE over everything behind this sector. The cylinder addresses
    // say "beyond counting" for both ends, as a Mac writes them.
    std::array<std::byte, sectorBytes> sector{};
    constexpr std::array head{0x00, 0xFE, 0xFF, 0xFF, 0xEE, 0xFE, 0xFF, 0xFF};
    std::ranges::transform(
        head, sector.begin() + 446, [](int value) { return static_cast<std::byte>(value); });
    const bytes::le32 first = 1;
    const bytes::le32 count =
        static_cast<uint32_t>(std::min<uint64_t>(diskSectors - 1, UINT32_MAX));
    std::ranges::copy(bytes::recordBytes(first), sector.begin() + 454);
    std::ranges::copy(bytes::recordBytes(count), sector.begin() + 458);
    sector[510] = std::byte{0x55};
    sector[511] = std::byte{0xAA};
    return sector;
}

std::vector<std::byte> entryArray(const SingleVolumeDisk& plan)
{
    GptEntry entry{.type = appleHfsType, .id = plan.partitionID};
    entry.first = SingleVolumeDisk::volumeFirstSector;
    entry.last = SingleVolumeDisk::volumeFirstSector + plan.volumeSectors - 1;
    const std::u16string name = bytes::utf16FromUtf8(plan.name).value_or(u"");
    for (std::size_t i = 0; i < std::min(name.size(), entry.name.size()); ++i)
        entry.name[i] = name[i];

    std::vector<std::byte> array(entryBytes * entryCount);
    std::ranges::copy(bytes::recordBytes(entry), array.begin());
    return array;
}

std::array<std::byte, sectorBytes> headerSector(GptHeader header)
{
    header.headerCrc = 0;
    header.headerCrc = bytes::crc32(bytes::recordBytes(header));
    std::array<std::byte, sectorBytes> sector{};
    std::ranges::copy(bytes::recordBytes(header), sector.begin());
    return sector;
}

// ---- reading ---------------------------------------------------------------------------------

struct Table {
    GptHeader header;
    std::vector<GptEntry> entries{}; // unused ones included, so that slices count right

    uint64_t arrayLength() const
    {
        return (uint64_t{header.count} * header.size + sectorBytes - 1) / sectorBytes;
    }
};

bool headerIsWhole(const GptHeader& header, std::span<const std::byte> sector, uint64_t at)
{
    if (header.signature != headerSignature || header.headerSize < headerBytes
        || header.headerSize > sectorBytes || header.ownSector != at)
        return false;
    std::vector<std::byte> raw(sector.begin(), sector.begin() + header.headerSize);
    std::fill_n(raw.begin() + offsetof(GptHeader, headerCrc), sizeof(uint32_t), std::byte{0});
    return bytes::crc32(raw) == header.headerCrc;
}

bool arrayIsInside(const GptHeader& header, uint64_t sectors)
{
    const uint64_t length = uint64_t{header.count} * header.size;
    const uint64_t room = (sectors - std::min<uint64_t>(header.arraySector, sectors)) * sectorBytes;
    return header.size >= entryBytes && std::has_single_bit(header.size.value())
        && length <= arrayLimit && length <= room;
}

bool entriesFit(const Table& table, uint64_t sectors)
{
    return std::ranges::all_of(table.entries, [&](const GptEntry& entry) {
        return entry.type.isNull()
            || (entry.first <= entry.last && entry.last <= table.header.lastUsable
                && entry.last < sectors);
    });
}

/// The table whose header lies in sector `at`; none unless it is whole.
std::optional<Table> tableAt(const bytes::ByteSource& disk, uint64_t at)
{
    const uint64_t sectors = disk.size() / sectorBytes;
    const auto sector = disk.read(at * sectorBytes, sectorBytes);
    Table table{.header = bytes::recordAt<GptHeader>(sector)};
    if (!headerIsWhole(table.header, sector, at) || !arrayIsInside(table.header, sectors))
        return {};

    const std::size_t size = table.header.size;
    const auto array = disk.read(table.header.arraySector * sectorBytes, table.header.count * size);
    if (bytes::crc32(array) != table.header.arrayCrc)
        return {};
    for (std::size_t i = 0; i < table.header.count; ++i)
        table.entries.push_back(
            bytes::recordAt<GptEntry>(std::span(array).subspan(i * size, entryBytes)));
    if (!entriesFit(table, sectors))
        return {};
    return table;
}

Partition partitionOf(const bytes::ByteSource& disk, const GptEntry& entry, std::size_t index)
{
    std::u16string name;
    for (const bytes::le16& unit : entry.name) {
        if (unit == 0)
            break;
        name += static_cast<char16_t>(unit.value());
    }
    const uint64_t count = entry.last - entry.first + 1;
    return {.name = bytes::utf8FromUtf16(name),
        .type = typeName(entry.type),
        .typeID = entry.type.text(),
        .slice = static_cast<uint32_t>(index + 1),
        .firstSector = entry.first,
        .sectorCount = count,
        .holdsHfsPlus = hasHfsPlusHeader(disk, entry.first, count)};
}

std::vector<MapArea> areasOf(
    const std::optional<Table>& primary, const std::optional<Table>& backup)
{
    std::vector<MapArea> areas{{"Protective Master Boot Record", "MBR", 0, 1}};
    const auto add = [&](const Table& table, const std::string& which) {
        areas.push_back({"GPT Header", which + " GPT Header", table.header.ownSector, 1});
        areas.push_back({"GPT Partition Data", which + " GPT Table", table.header.arraySector,
            table.arrayLength()});
    };
    if (primary)
        add(*primary, "Primary");
    if (backup)
        add(*backup, "Backup");
    std::ranges::sort(areas, {}, &MapArea::firstSector);
    return areas;
}

/// A disk with neither sign of a GPT near its start isn't searched at its end.
bool announcesGpt(const bytes::ByteSource& disk)
{
    const auto head = disk.read(0, 2 * sectorBytes);
    const auto span = std::span<const std::byte>(head);
    return bytes::recordAt<bytes::le64>(span.subspan(sectorBytes)) == headerSignature
        || (bytes::recordAt<bytes::le16>(span.subspan(510)) == 0xAA55
            && head[450] == std::byte{0xEE});
}

} // namespace

void writeGuidPartitionTable(bytes::ByteDevice& disk, const SingleVolumeDisk& plan)
{
    const uint64_t sectors = plan.diskSectors();
    assert(disk.size() == sectors * sectorBytes);
    const std::vector<std::byte> array = entryArray(plan);

    GptHeader primary{.signature = headerSignature,
        .revision = 0x00010000,
        .headerSize = headerBytes,
        .ownSector = 1,
        .otherSector = sectors - 1,
        .firstUsable = 2 + arraySectors,
        .lastUsable = sectors - 2 - arraySectors,
        .diskID = plan.diskID,
        .arraySector = 2,
        .count = entryCount,
        .size = entryBytes,
        .arrayCrc = bytes::crc32(array)};
    GptHeader backup = primary;
    std::swap(backup.ownSector, backup.otherSector);
    backup.arraySector = sectors - 1 - arraySectors;

    disk.writeAt(0, protectiveRecord(sectors));
    disk.writeAt(sectorBytes, headerSector(primary));
    disk.writeAt(primary.arraySector * sectorBytes, array);
    disk.writeAt(backup.arraySector * sectorBytes, array);
    disk.writeAt(backup.ownSector * sectorBytes, headerSector(backup));
}

std::optional<PartitionMap> readGuidPartitionTable(const bytes::ByteSource& disk)
{
    const uint64_t sectors = disk.size() / sectorBytes;
    if (sectors < 3 || !announcesGpt(disk))
        return {};
    const auto primary = tableAt(disk, 1);
    auto backup = tableAt(disk, sectors - 1);
    if (!backup && primary && primary->header.otherSector < sectors)
        backup = tableAt(disk, primary->header.otherSector);
    if (!primary && !backup)
        return {};

    PartitionMap map{.scheme = PartitionScheme::guid, .areas = areasOf(primary, backup)};
    const Table& table = primary ? *primary : *backup;
    for (std::size_t i = 0; i < table.entries.size(); ++i)
        if (!table.entries[i].type.isNull())
            map.partitions.push_back(partitionOf(disk, table.entries[i], i));
    return map;
}

} // namespace udif
