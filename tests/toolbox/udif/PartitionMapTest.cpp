#include "TestDisk.h"

#include "bytes/ByteDevice.h"
#include "bytes/ByteWriter.h"
#include "bytes/Crc32.h"
#include "udif/DiskRegions.h"
#include "udif/PartitionMap.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace testing_udif;
using namespace udif;
using testing::HasSubstr;

PartitionMap mapOf(const Bytes& disk)
{
    return readPartitionMap(bytes::MemoryDevice(disk));
}

template <typename Stored>
void put(Bytes& disk, std::size_t offset, Stored value)
{
    std::ranges::copy(bytes::recordBytes(value), disk.begin() + static_cast<ptrdiff_t>(offset));
}

/// Makes the checksum of the GPT header in `sector` right again.
void mendHeader(Bytes& disk, std::size_t sector)
{
    const auto header = std::span(disk).subspan(sector * sectorBytes, 92);
    put(disk, sector * sectorBytes + 16, bytes::le32(0));
    put(disk, sector * sectorBytes + 16, bytes::le32(bytes::crc32(header)));
}

/// An Apple map as old images have it: the map itself, a volume, a gap.
Bytes appleDisk()
{
    Bytes disk(200 * sectorBytes);
    put(disk, 0, bytes::be16(0x4552));
    put(disk, 2, bytes::be16(512));
    struct Row {
        uint32_t first, count;
        std::string name, type;
    };
    const Row rows[] = {{1, 63, "Apple", "Apple_partition_map"},
        {64, 100, "disk image", "Apple_HFS"}, {164, 36, "", "Apple_Free"}};
    std::size_t at = sectorBytes;
    for (const Row& row : rows) {
        bytes::ByteWriter entry;
        entry.text("PM");
        entry.u16(0);
        entry.u32(3);
        entry.u32(row.first);
        entry.u32(row.count);
        entry.text(row.name);
        entry.padTo(48);
        entry.text(row.type);
        std::ranges::copy(entry.bytes(), disk.begin() + static_cast<ptrdiff_t>(at));
        at += sectorBytes;
    }
    put(disk, 64 * sectorBytes + 1024, bytes::be16(0x482B));
    return disk;
}

Bytes mbrDisk()
{
    Bytes disk(100 * sectorBytes);
    disk[446 + 4] = std::byte{0xAF};
    put(disk, 446 + 8, bytes::le32(8));
    put(disk, 446 + 12, bytes::le32(80));
    put(disk, 510, bytes::le16(0xAA55));
    put(disk, 8 * sectorBytes + 1024, bytes::be16(0x4858));
    return disk;
}

TEST(PartitionMap, EachSchemeIsRecognised)
{
    Bytes bare(64 * sectorBytes);
    put(bare, 1024, bytes::be16(0x482B));
    struct Row {
        const char* what;
        Bytes disk;
        PartitionScheme scheme;
        uint64_t first, count;
        uint32_t slice;
    };
    const Row rows[] = {
        {"GUID", diskOf(800), PartitionScheme::guid, 40, 800, 1},
        {"Apple", appleDisk(), PartitionScheme::apple, 64, 100, 2},
        {"bare volume", bare, PartitionScheme::bare, 0, 64, 0},
        {"master boot record", mbrDisk(), PartitionScheme::masterBootRecord, 8, 80, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const PartitionMap map = mapOf(row.disk);
        EXPECT_EQ(map.scheme, row.scheme);
        const Partition* volume = map.hfsPlusPartition();
        ASSERT_NE(volume, nullptr);
        EXPECT_EQ(volume->type, "Apple_HFS");
        EXPECT_EQ(volume->firstSector, row.first);
        EXPECT_EQ(volume->sectorCount, row.count);
        EXPECT_EQ(volume->slice, row.slice);
    }
    EXPECT_EQ(mapOf(Bytes(100 * sectorBytes)), PartitionMap{});
    EXPECT_EQ(mapOf({}), PartitionMap{});
}

TEST(PartitionMap, SgdiskFindsNoFaultInOurTableAndOneInADamagedOne)
{
    const Scratch scratch;
    Bytes disk = diskOf(4096);
    writeFile(scratch / "disk.img", disk);
    const std::string command = "sgdisk -v " + (scratch / "disk.img").string();
    EXPECT_THAT(run(command).output, HasSubstr("No problems found"));
    EXPECT_THAT(run(command).output, testing::Not(HasSubstr("Caution")));
    const std::string info = run("sgdisk -i 1 " + (scratch / "disk.img").string()).output;
    EXPECT_THAT(info, HasSubstr("48465300-0000-11AA-AA11-00306543ECAC"));
    EXPECT_THAT(info, HasSubstr(Guid::derived(2).text()));
    EXPECT_THAT(info, HasSubstr("'disk image'"));

    disk[disk.size() - 512 + 50] ^= std::byte{1};
    writeFile(scratch / "disk.img", disk);
    EXPECT_THAT(run(command).output, HasSubstr("Caution: invalid backup GPT header"));
}

TEST(PartitionMap, ADamagedPrimaryTableIsReplacedByTheBackup)
{
    const Bytes whole = diskOf(800);
    const auto expected = mapOf(whole).partitions;
    struct Row {
        const char* what;
        std::size_t offset;
    };
    for (const Row& row :
        {Row{"header", 512 + 40}, Row{"array", 1024 + 32}, Row{"signature", 512}}) {
        SCOPED_TRACE(row.what);
        Bytes disk = whole;
        disk[row.offset] ^= std::byte{0x10};
        EXPECT_EQ(mapOf(disk).scheme, PartitionScheme::guid);
        EXPECT_EQ(mapOf(disk).partitions, expected);
        disk[disk.size() - 512 + 40] ^= std::byte{0x10};
        EXPECT_NE(mapOf(disk).scheme, PartitionScheme::guid);
    }
}

TEST(PartitionMap, AMapThatContradictsItselfIsNotBelieved)
{
    struct Row {
        const char* what;
        std::function<void(Bytes&)> change; // of a header whose checksum is then mended
    };
    const Row rows[] = {
        {"header size 0", [](Bytes& disk) { put(disk, 512 + 12, bytes::le32(0)); }},
        {"header larger than a sector", [](Bytes& disk) { put(disk, 512 + 12, bytes::le32(513)); }},
        {"another own sector", [](Bytes& disk) { put(disk, 512 + 24, bytes::le64(2)); }},
        {"four thousand million entries",
            [](Bytes& disk) { put(disk, 512 + 80, bytes::le32(UINT32_MAX)); }},
        {"entries of 64 bytes", [](Bytes& disk) { put(disk, 512 + 84, bytes::le32(64)); }},
        {"entries of 129 bytes", [](Bytes& disk) { put(disk, 512 + 84, bytes::le32(129)); }},
        {"array beyond the disk", [](Bytes& disk) { put(disk, 512 + 72, bytes::le64(1 << 20)); }},
        {"array at the end of numbers",
            [](Bytes& disk) { put(disk, 512 + 72, bytes::le64(UINT64_MAX)); }},
        {"last usable sector before the partition's end",
            [](Bytes& disk) { put(disk, 512 + 48, bytes::le64(100)); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Bytes disk = diskOf(800);
        disk[disk.size() - 1024] ^= std::byte{1}; // the backup's array
        row.change(disk);
        mendHeader(disk, 1);
        EXPECT_NE(mapOf(disk).scheme, PartitionScheme::guid);
    }

    Bytes apple = appleDisk();
    put(apple, 512 + 4, bytes::be32(257));
    EXPECT_NE(mapOf(apple).scheme, PartitionScheme::apple);
    apple = appleDisk();
    put(apple, 1024 + 12, bytes::be32(UINT32_MAX));
    EXPECT_NE(mapOf(apple).scheme, PartitionScheme::apple);
}

std::vector<std::string> tableNames(const Bytes& disk)
{
    std::vector<std::string> names;
    uint64_t position = 0;
    for (const DiskRegion& region : regionsOf(mapOf(disk), disk.size() / sectorBytes)) {
        EXPECT_EQ(region.firstSector, position) << region.tableName();
        position += region.sectorCount;
        names.push_back(std::to_string(region.id) + " " + region.tableName());
    }
    EXPECT_EQ(position, disk.size() / sectorBytes);
    return names;
}

TEST(DiskRegions, CoverTheDiskUnderTheNamesThatAMacGives)
{
    using testing::ElementsAre;
    EXPECT_THAT(tableNames(diskOf(800)),
        ElementsAre("-1 Protective Master Boot Record (MBR : 0)",
            "0 GPT Header (Primary GPT Header : 1)", "1 GPT Partition Data (Primary GPT Table : 2)",
            "2  (Apple_Free : 3)", "3 disk image (Apple_HFS : 4)",
            "4 GPT Partition Data (Backup GPT Table : 5)", "5 GPT Header (Backup GPT Header : 6)"));
    EXPECT_THAT(tableNames(appleDisk()),
        ElementsAre("-1 Driver Descriptor Map (DDM : 0)", "0 Apple (Apple_partition_map : 1)",
            "1 disk image (Apple_HFS : 2)", "2  (Apple_Free : 3)"));
    EXPECT_THAT(tableNames(mbrDisk()),
        ElementsAre("-1 Master Boot Record (MBR : 0)", "0  (Apple_Free : 1)", "1  (Apple_HFS : 2)",
            "2  (Apple_Free : 3)"));
    Bytes bare(64 * sectorBytes);
    put(bare, 1024, bytes::be16(0x482B));
    EXPECT_THAT(tableNames(bare), ElementsAre("0 whole disk (Apple_HFS : 0)"));

    Bytes overlapping = appleDisk();
    put(overlapping, 1024 + 8, bytes::be32(63)); // the volume starts inside of the map
    EXPECT_THAT(tableNames(overlapping), ElementsAre("0 whole disk (unknown partition : 0)"));
}

TEST(Guid, TextAndDerivation)
{
    EXPECT_EQ(appleHfsType.text(), "48465300-0000-11AA-AA11-00306543ECAC");
    EXPECT_EQ(appleHfsType.stored[1], std::byte{0x53}); // first group little-endian
    EXPECT_EQ(Guid::derived(7), Guid::derived(7));
    EXPECT_NE(Guid::derived(7), Guid::derived(8));
    EXPECT_EQ(Guid::derived(7).text()[14], '4');
}

} // namespace
