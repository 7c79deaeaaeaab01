#include "finder/DesktopStore.h"

#include "Damage.h"
#include "Samples.h"
#include "finder/IconLocation.h"
#include "finder/StoreFile.h"
#include "finder/StoreLayout.h"
#include "finder/StoreReader.h"
#include "finder/StoreRecords.h"
#include "finder/StoreWriter.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace finder {

namespace {

DesktopStore threeRecords()
{
    DesktopStore store;
    store.set(u"Demo.app", "Iloc", StoreValue::blob(writeIconLocation({140, 178})));
    store.set(u".", "vSrn", StoreValue::number(1));
    store.set(u"Applications", "Iloc", StoreValue::blob(writeIconLocation({460, 178})));
    return store;
}

/// Records of all sizes, some as large as a store can hold.
DesktopStore manyRecords(unsigned count)
{
    DesktopStore store;
    for (unsigned i = 0; i < count; ++i) {
        std::u16string name = u"item ";
        for (unsigned digits = i * 7919 % count + 10000; digits > 0; digits /= 10)
            name += static_cast<char16_t>(u'0' + digits % 10);
        const std::size_t largest = largestRecord - 12 - 4 - 2 * name.size();
        store.set(name, "test",
            StoreValue::blob(std::vector(i % 97 == 0 ? largest : i % 300, std::byte{0x42})));
    }
    return store;
}

/// The sum of all blocks, used and free; fails when two of them overlap.
uint64_t coveredSpace(const StoreStructure& structure)
{
    std::vector<std::pair<uint64_t, uint64_t>> pieces{{0, 32}};
    for (const BlockAddress& block : structure.blocks)
        pieces.emplace_back(block.offset, uint64_t{1} << block.width);
    for (unsigned width = 0; width < 32; ++width)
        for (const uint32_t offset : structure.freeLists[width])
            pieces.emplace_back(offset, uint64_t{1} << width);
    std::ranges::sort(pieces);
    uint64_t end = 0;
    for (const auto& [start, size] : pieces) {
        EXPECT_EQ(start, end);
        EXPECT_EQ(start % size, 0u);
        end = start + size;
    }
    return end;
}

/// A store with a small hand-made tree of one root and two leaves, and blocks just large enough.
std::vector<std::byte> withBlockNumbers(uint32_t leftChild, uint32_t lastChild)
{
    auto raw = writeStore(threeRecords());
    const auto put = [&raw](std::size_t at, std::string_view hex) {
        std::ranges::copy(samples::fromHex(hex), raw.begin() + static_cast<std::ptrdiff_t>(at));
    };
    bytes::be32 left(leftChild), last(lastChild);
    put(0x1004,
        samples::toHex(bytes::recordBytes(last)) + "00000001"
            + samples::toHex(bytes::recordBytes(left)) + "00000001002e 7653726e 6c6f6e67 00000001");
    return raw;
}

} // namespace

TEST(DesktopStore, RecordsComeInTheFormatsOrder)
{
    struct Row {
        const char16_t* name;
        FourCC code;
    };
    const Row rows[] = {{u".", "bwsp"}, {u".", "icvp"}, {u".", "pBB0"}, {u".", "pBBk"},
        {u".", "vSrn"}, {u".", "vstl"}, {u"_later", "Iloc"}, {u"Applications", "Iloc"},
        {u"applications2", "Iloc"}, {u"applications2", "bwsp"}, {u"applications2", "moDD"},
        {u"applications2", "modD"}, {u"Zebra", "Iloc"}};
    DesktopStore store;
    for (auto row = std::rbegin(rows); row != std::rend(rows); ++row)
        store.set(row->name, row->code, StoreValue::number(1));
    ASSERT_EQ(store.records().size(), std::size(rows));
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(store.records()[i].name, rows[i].name) << i;
        EXPECT_EQ(store.records()[i].code, rows[i].code) << i;
    }
}

TEST(DesktopStore, NamesAreFoundAsTheVolumeComparesThem)
{
    DesktopStore store = threeRecords();
    EXPECT_NE(store.find(u"demo.APP", "Iloc"), nullptr);
    EXPECT_EQ(store.find(u"demo.APP", "iloc"), nullptr);
    store.set(u"DEMO.app", "Iloc", StoreValue::blob(writeIconLocation({1, 2})));
    EXPECT_EQ(store.records().size(), 3u);
    EXPECT_EQ(readIconLocation(store.find(u"Demo.app", "Iloc")->bytes), (IconLocation{1, 2}));
    store.remove(u"demo.app", "Iloc");
    EXPECT_EQ(store.records().size(), 2u);
}

TEST(StoreWriter, ThreeRecordsMakeTheKnownFile)
{
    const auto raw = writeStore(threeRecords());
    EXPECT_EQ(raw.size(), 8196u);
    EXPECT_EQ(
        samples::sha256(raw), "c732bad021b93c4e5b2d515cfa922fdbab280414ee1e83db8e4f15957f9a83d3");
    EXPECT_EQ(samples::toHex(writeIconLocation({140, 178})), "0000008c000000b2ffffffffffff0000");
}

TEST(StoreWriter, TreesOfEveryHeightAreReadBack)
{
    for (const unsigned count : {0u, 1u, 2u, 3u, 40u, 97u, 98u, 500u, 2000u, 5000u}) {
        const DesktopStore store = manyRecords(count);
        const auto raw = writeStore(store);
        const StoreStructure structure = readStoreStructure(raw);
        EXPECT_EQ(structure.records, store.records()) << count;
        EXPECT_EQ(structure.records.size(), count);
        EXPECT_EQ(structure.statedRecords, count);
        EXPECT_EQ(structure.statedNodes, structure.nodes) << count;
        EXPECT_EQ(structure.statedLevels, structure.levels) << count;
        EXPECT_EQ(structure.blocks.size(), structure.nodes + StoreLayout::firstNodeBlock);
        EXPECT_EQ(coveredSpace(structure), uint64_t{1} << 31) << count;
    }
    EXPECT_GE(readStoreStructure(writeStore(manyRecords(2000))).levels, 2u);
}

TEST(StoreWriter, FewestRecordsANodeAreNoTrouble)
{
    // One record fills a node, so every other one separates two of them.
    for (unsigned count = 1; count < 9; ++count) {
        DesktopStore store;
        for (unsigned i = 0; i < count; ++i)
            store.set(std::u16string(1, static_cast<char16_t>(u'a' + i)), "test",
                StoreValue::blob(std::vector<std::byte>(largestRecord - 18)));
        EXPECT_EQ(readStoreStructure(writeStore(store)).records, store.records()) << count;
    }
}

TEST(StoreWriter, WhatCannotBeStoredIsRefused)
{
    const StoreValue values[] = {
        StoreValue::blob(std::vector<std::byte>(largestRecord - 17)),
        {"long", {}},
        {"ustr", {std::byte{0}}},
        {"????", {}},
    };
    for (const StoreValue& value : values) {
        DesktopStore store;
        store.set(u"a", "test", value);
        EXPECT_THROW(writeStore(store), bytes::FormatError) << value.type.text();
    }
}

TEST(StoreReader, EveryTypeOfValueKeepsItsBytes)
{
    DesktopStore store;
    unsigned code = 0x61616161;
    for (const auto& type : storeFormat::valueTypes)
        store.set(u"x", FourCC(code++),
            {type.type, std::vector<std::byte>(type.counted ? 6 : type.size, std::byte{9})});
    EXPECT_EQ(readStore(writeStore(store)), store);
}

TEST(StoreReader, LeftoversAndTrailingBytesAreIgnored)
{
    auto raw = writeStore(threeRecords());
    raw[0x14] = raw[0x1F00] = raw[0x40] = std::byte{0xEE};
    raw.resize(raw.size() + 77, std::byte{0xEE});
    EXPECT_EQ(readStore(raw), threeRecords());
}

TEST(StoreReader, ImpossibleStoresAreRefused)
{
    struct Row {
        const char* what;
        std::size_t at; // file position
        const char* bytes;
    };
    const Row rows[] = {
        {"prefix", 0, "00000002"},
        {"magic", 4, "42756432"},
        {"two offsets that differ", 16, "00001000"},
        {"root block outside the file", 8, "7ffff800 00000800 7ffff800"},
        {"more blocks than any file has", 0x804, "00200000"},
        {"a block of 16 bytes", 0x814, "00001004"},
        {"a block behind the end", 0x814, "0000200c"},
        {"no tree", 0xC15, "45"},
        {"the root node is no block", 0x24, "00000009"},
        {"more records than fit", 0x1008, "00010000"},
        {"a name longer than its block", 0x100C, "00010000"},
        {"an unknown type", 0x1016, "6c6f6e68"},
    };
    for (const Row& row : rows) {
        auto raw = writeStore(threeRecords());
        const auto patch = samples::fromHex(row.bytes);
        std::ranges::copy(patch, raw.begin() + static_cast<std::ptrdiff_t>(row.at));
        EXPECT_THROW(readStore(raw), bytes::FormatError) << row.what;
    }
    EXPECT_THROW(readStore(withBlockNumbers(2, 2)), bytes::FormatError) << "a node below itself";
    EXPECT_THROW(readStore(withBlockNumbers(1, 9)), bytes::FormatError) << "a missing child";
}

TEST(StoreReader, DamageEndsInAFormatErrorOrASoundParse)
{
    const auto raw = writeStore(threeRecords());
    EXPECT_GE(readDamaged(raw, readStore), raw.size()) << "every truncation at least";
    const auto deep = writeStore(manyRecords(60));
    readDamaged(std::vector(deep.begin() + 0, deep.begin() + 0x1800), readStore);
}

TEST(StoreFile, AFolderKeepsItsStore)
{
    namespace fs = std::filesystem;
    std::string name = (fs::temp_directory_path() / "store-XXXXXX").string();
    const fs::path folder = ::mkdtemp(name.data());
    EXPECT_TRUE(readStoreOf(folder).records().empty());
    for (int i = 0; i < 2; ++i) {
        writeStoreOf(folder, threeRecords());
        EXPECT_EQ(readStoreOf(folder), threeRecords());
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1) << "no temporary file is left";
    EXPECT_EQ(fs::status(folder / ".DS_Store").permissions(), fs::perms(0644));

    fs::remove(folder / ".DS_Store");
    fs::create_symlink("/dev/zero", folder / ".DS_Store");
    EXPECT_THROW(readStoreOf(folder), bytes::FormatError);
    fs::remove_all(folder);
}

} // namespace finder
