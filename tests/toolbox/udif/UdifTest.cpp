#include "TestDisk.h"

#include "bytes/ByteDevice.h"
#include "bytes/FormatError.h"
#include "udif/ChunkCodec.h"
#include "udif/ChunkedDisk.h"
#include "udif/Udif.h"
#include "udif/UdifPropertyList.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string_view>

namespace {

using namespace testing_udif;
using namespace udif;

constexpr uint64_t forkLength = 10000;

BlockTable sampleTable()
{
    return {.id = 3,
        .name = "disk image (Apple_HFS : 4)",
        .firstSector = 40,
        .sectorCount = 20,
        .buffersNeeded = 2056,
        .descriptor = 4,
        .checksum = StoredChecksum::ofCrc(0x12345678),
        .chunks = {{ChunkType::zlib, 0, 8, 0, 100}, {ChunkType::zeros, 8, 4, 100, 0},
            {ChunkType::raw, 12, 2, 100, 1024}, {ChunkType::ignored, 14, 6, 1124, 0}}};
}

/// What comes back without the things that a table doesn't say of itself.
BlockTable readBack(std::span<const std::byte> raw)
{
    BlockTable table = readBlockTable(raw, forkLength);
    table.id = 3;
    table.name = "disk image (Apple_HFS : 4)";
    return table;
}

TEST(BlockTable, ComesBackAsItWasWritten)
{
    const BlockTable expected = sampleTable();
    const Bytes raw = writeBlockTable(expected);
    EXPECT_EQ(raw.size(), 204U + 5 * 40);
    EXPECT_EQ(readBack(raw), expected);
}

TEST(BlockTable, EveryTruncatedPrefixIsRefused)
{
    const Bytes raw = writeBlockTable(sampleTable());
    for (std::size_t length = 0; length < raw.size(); ++length)
        EXPECT_THROW(readBlockTable(std::span(raw).first(length), forkLength), bytes::FormatError)
            << length;
}

TEST(BlockTable, ImpossibleValuesAreRefused)
{
    struct Row {
        const char* what;
        std::function<void(BlockTable&)> change;
    };
    const Row rows[] = {
        {"chunk behind the data fork", [](auto& table) { table.chunks[0].offset = forkLength; }},
        {"offset and length overflow",
            [](auto& table) { table.chunks[0].offset = UINT64_MAX - 50; }},
        {"raw chunk of another length", [](auto& table) { table.chunks[2].length = 1023; }},
        {"gap between chunks", [](auto& table) { table.chunks[1].firstSector = 9; }},
        {"overlapping chunks", [](auto& table) { table.chunks[1].firstSector = 7; }},
        {"chunk larger than the table", [](auto& table) { table.chunks[3].sectorCount = 7; }},
        {"sector counts overflow", [](auto& table) { table.chunks[3].sectorCount = UINT64_MAX; }},
        {"chunks end before the table", [](auto& table) { table.sectorCount = 21; }},
        {"table beyond any disk", [](auto& table) { table.firstSector = UINT64_MAX; }},
        {"unknown type", [](auto& table) { table.chunks[0].type = ChunkType{0x80000009}; }},
        {"terminator in the middle",
            [](auto& table) { table.chunks[1].type = ChunkType::terminator; }},
        {"compressed chunk of 4 GiB",
            [](auto& table) {
                table.chunks.erase(table.chunks.begin() + 1, table.chunks.end());
                table.chunks[0].sectorCount = table.sectorCount = uint64_t{1} << 23;
            }},
        {"compressed chunk of no bytes", [](auto& table) { table.chunks[0].length = 0; }},
        {"compressed chunk far longer than its content",
            [](auto& table) {
                table.chunks.erase(table.chunks.begin() + 1, table.chunks.end());
                table.chunks[0].sectorCount = table.sectorCount = 1;
                table.chunks[0].length = 9000;
            }},
    };
    for (const Row& row : rows) {
        BlockTable table = sampleTable();
        row.change(table);
        EXPECT_THROW(readBlockTable(writeBlockTable(table), forkLength), bytes::FormatError)
            << row.what;
    }
}

TEST(PropertyList, ComesBackAsItWasWritten)
{
    Bytes noise(1001);
    fillWithNoise(noise, 1);
    const std::vector<BlockResource> resources{
        {-1, "Räume & <Wände>", noise}, {0, " (Apple_Free : 3)", Bytes(1)}, {1, "", {}}};
    const std::string xml = writePropertyList(resources);
    EXPECT_EQ(readPropertyList(std::as_bytes(std::span(xml))), resources);
}

std::string listOf(const std::string& resource)
{
    return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>resource-fork</key><dict>"
           "<key>blkx</key><array>"
        + resource + "</array></dict></dict></plist>";
}

std::string repeated(const std::string& text, std::size_t count)
{
    std::string out;
    for (std::size_t i = 0; i < count; ++i)
        out += text;
    return out;
}

TEST(PropertyList, OnlyWhatIsNeededIsDemanded)
{
    const std::string xml = listOf("<dict><key>Data</key><data> QU\n\tJD </data><key>ID</key>"
                                   "<string>-1</string><key>CFName</key><string>a&#38;b&lt;"
                                   "</string><key>More</key><true/></dict>");
    const auto resources = readPropertyList(std::as_bytes(std::span(xml)));
    ASSERT_EQ(resources.size(), 1U);
    EXPECT_EQ(resources[0].name, "a&b<");
    EXPECT_EQ(resources[0].data, (Bytes{std::byte{'A'}, std::byte{'B'}, std::byte{'C'}}));
}

TEST(PropertyList, HostileListsAreRefused)
{
    const std::string table = "<dict><key>ID</key><string>0</string><key>Data</key>"
                              "<data>QUJD</data></dict>";
    const std::pair<const char*, std::string> rows[] = {
        {"nothing", ""},
        {"no list", "koly"},
        {"cut short", listOf(table).substr(0, 150)},
        {"an array for a dictionary", "<plist><array/></plist>"},
        {"no tables", "<plist><dict><key>resource-fork</key><dict/></dict></plist>"},
        {"a table that is a string", listOf("<string>x</string>")},
        {"a table without data", listOf("<dict><key>ID</key><string>0</string></dict>")},
        {"an ID that is no number",
            listOf("<dict><key>ID</key><string>1x</string><key>Data</key><data/></dict>")},
        {"an ID beyond 32 bits",
            listOf("<dict><key>ID</key><string>4294967296</string><key>Data</key><data/></dict>")},
        {"five thousand tables", listOf(repeated(table, 5000))},
        {"deep nesting", repeated("<array>", 8000) + repeated("</array>", 8000)},
        {"deeper nesting", repeated("<dict><key>a</key>", 100000)},
        {"a million elements", listOf(repeated("<true/>", 1000000))},
    };
    for (const auto& [what, xml] : rows)
        EXPECT_THROW(readPropertyList(std::as_bytes(std::span(xml))), bytes::FormatError) << what;
}

/// A small image in memory: two tables, one raw chunk.
Bytes smallImage(const std::function<void(Udif&)>& change, uint64_t fork = 1024)
{
    Udif image;
    image.trailer.sectorCount = 10;
    image.tables = {{.name = "a", .sectorCount = 4, .chunks = {{ChunkType::zeros, 0, 4, 0, 0}}},
        {.name = "b",
            .firstSector = 4,
            .sectorCount = 6,
            .chunks = {{ChunkType::raw, 0, 2, 0, 1024}, {ChunkType::ignored, 2, 4, 0, 0}}}};
    change(image);
    Bytes file(fork, std::byte{7});
    const Bytes tail = writeUdifTail(image, fork);
    file.insert(file.end(), tail.begin(), tail.end());
    return file;
}

TEST(Udif, ComesBackAsItWasWritten)
{
    Udif written;
    const bytes::MemoryDevice file(smallImage([](auto&) {}));
    const Udif image = readUdif(file);
    ASSERT_EQ(image.tables.size(), 2U);
    EXPECT_EQ(image.tables[1].chunks[0].length, 1024U);
    const ChunkedDisk disk(file, image);
    const Bytes content = disk.read(0, disk.size());
    for (std::size_t i = 0; i < content.size(); ++i)
        ASSERT_EQ(content[i], std::byte(i / 512 == 4 || i / 512 == 5 ? 7 : 0)) << i;
    EXPECT_TRUE(disk.isEmpty(0, 4 * 512));
    EXPECT_FALSE(disk.isEmpty(0, 4 * 512 + 1));
    EXPECT_TRUE(disk.isEmpty(6 * 512, 4 * 512));
}

TEST(Udif, ChunksThatShareTheirBytesWithoutEndAreRefused)
{
    const auto repeat = [](uint64_t times) {
        return smallImage([times](Udif& image) {
            image.trailer.sectorCount = 4 + 2 * times;
            image.tables[1].sectorCount = 2 * times;
            image.tables[1].chunks.clear();
            for (uint64_t i = 0; i < times; ++i)
                image.tables[1].chunks.push_back({ChunkType::raw, 2 * i, 2, 0, 1024});
        });
    };
    EXPECT_NO_THROW(readUdif(bytes::MemoryDevice(repeat(4))));
    EXPECT_THROW(readUdif(bytes::MemoryDevice(repeat(5))), bytes::FormatError);
}

TEST(Udif, ContradictionsOfTheTrailerAreRefused)
{
    struct Row {
        const char* what;
        std::function<void(KolyTrailer&)> change;
    };
    const Row rows[] = {
        {"version 3", [](auto& trailer) { trailer.version = 3; }},
        {"header size", [](auto& trailer) { trailer.headerSize = 511; }},
        {"data fork leaves the file", [](auto& trailer) { trailer.dataForkLength = 1 << 20; }},
        {"data fork at the end of numbers",
            [](auto& trailer) { trailer.dataForkOffset = UINT64_MAX - 100; }},
        {"data fork shorter than its chunks", [](auto& trailer) { trailer.dataForkLength = 1000; }},
        {"list leaves the file", [](auto& trailer) { trailer.xmlLength = trailer.xmlLength + 1; }},
        {"list overflows", [](auto& trailer) { trailer.xmlLength = UINT64_MAX; }},
        {"list is the data fork", [](auto& trailer) { trailer.xmlOffset = 0; }},
        {"signature leaves the file", [](auto& trailer) { trailer.signatureLength = UINT32_MAX; }},
        {"one of several segments", [](auto& trailer) { trailer.segmentCount = 2; }},
        {"more sectors than numbers", [](auto& trailer) { trailer.sectorCount = UINT64_MAX; }},
        {"fewer sectors than tables have", [](auto& trailer) { trailer.sectorCount = 9; }},
        {"tables in a resource fork",
            [](auto& trailer) { trailer.xmlLength = 0, trailer.resourceForkLength = 100; }},
    };
    for (const Row& row : rows) {
        Bytes file = smallImage([](auto&) {});
        const auto place = std::span(file).last(sizeof(KolyTrailer));
        auto trailer = bytes::recordAt<KolyTrailer>(place);
        row.change(trailer);
        std::ranges::copy(bytes::recordBytes(trailer), place.begin());
        EXPECT_THROW(readUdif(bytes::MemoryDevice(file)), bytes::FormatError) << row.what;
    }
    const Bytes overlapping = smallImage([](Udif& image) { image.tables[1].firstSector = 3; });
    EXPECT_THROW(readUdif(bytes::MemoryDevice(overlapping)), bytes::FormatError);
}

TEST(Udif, WithoutAListTheDataForkIsTheDisk)
{
    Bytes file = smallImage([](auto&) {}, 2048);
    const auto place = std::span(file).last(sizeof(KolyTrailer));
    auto trailer = bytes::recordAt<KolyTrailer>(place);
    trailer.xmlLength = 0;
    std::ranges::copy(bytes::recordBytes(trailer), place.begin());
    const bytes::MemoryDevice device(file);
    const Udif image = readUdif(device);
    EXPECT_EQ(image.sectorCount(), 4U);
    EXPECT_EQ(ChunkedDisk(device, image).read(0, 2048), Bytes(2048, std::byte{7}));
}

TEST(ChunkCodec, ADecodedChunkHasExactlyItsLength)
{
    Bytes content = diskOf(600);
    content.resize(300000);
    for (const ChunkType type :
        {ChunkType::zlib, ChunkType::bzip2, ChunkType::lzfse, ChunkType::lzma}) {
        SCOPED_TRACE(codecFor(type)->name);
        const Bytes stored = codecFor(type)->makeEncoder(9)->encode(content);
        ASSERT_FALSE(stored.empty());
        Bytes out(content.size());
        decodeChunk(type, stored, out);
        EXPECT_EQ(out, content);

        out.resize(content.size() - 512);
        EXPECT_THROW(decodeChunk(type, stored, out), bytes::FormatError);
        out.resize(content.size() + 512);
        EXPECT_THROW(decodeChunk(type, stored, out), bytes::FormatError);
        out.resize(content.size());
        EXPECT_THROW(
            decodeChunk(type, std::span(stored).first(stored.size() - 1), out), bytes::FormatError);
        EXPECT_THROW(decodeChunk(type, {}, out), bytes::FormatError);

        Bytes noise(4096);
        fillWithNoise(noise, 5);
        EXPECT_TRUE(codecFor(type)->makeEncoder(9)->encode(noise).empty());
    }
}

TEST(ChunkCodec, AdcHasLiteralsAndRepetitionsOfTwoLengths)
{
    const auto bytesOf = [](std::string_view text) {
        const auto raw = std::as_bytes(std::span(text));
        return Bytes(raw.begin(), raw.end());
    };
    struct Row {
        const char* what;
        std::string_view stored;
        std::string_view content; // empty: refused
    };
    using namespace std::string_view_literals;
    const Row rows[] = {
        {"literals", "\x83\x61\x62\x63\x64"sv, "abcd"},
        {"a short repetition runs into itself", "\x81\x61\x62\x04\x01"sv, "ababab"},
        {"a long one", "\x81\x61\x62\x44\x00\x01"sv, "ababababab"},
        {"all bits of a short distance", "\x80\x61\x03\xFF"sv, ""},
        {"a repetition of what isn't there", "\x80\x61\x00\x01"sv, ""},
        {"more than the chunk holds", "\x80\x61\x7F\x00\x00"sv, ""},
        {"too little", "\x80\x61"sv, ""},
        {"a byte too many", "\x83\x61\x62\x63\x64\x80"sv, ""},
    };
    for (const Row& row : rows) {
        Bytes out(row.content.empty() ? 4 : row.content.size());
        if (row.content.empty()) {
            EXPECT_THROW(decodeChunk(ChunkType::adc, bytesOf(row.stored), out), bytes::FormatError)
                << row.what;
            continue;
        }
        decodeChunk(ChunkType::adc, bytesOf(row.stored), out);
        EXPECT_EQ(out, bytesOf(row.content)) << row.what;
    }
}

TEST(ChunkCodec, JoinedBzip2StreamsAreOneChunk)
{
    const Bytes first(5000, std::byte{1});
    const Bytes second(3192, std::byte{2});
    const auto encoder = codecFor(ChunkType::bzip2)->makeEncoder(1);
    Bytes stored = encoder->encode(first);
    const Bytes more = encoder->encode(second);
    stored.insert(stored.end(), more.begin(), more.end());
    Bytes out(8192);
    decodeChunk(ChunkType::bzip2, stored, out);
    EXPECT_EQ(out[4999], std::byte{1});
    EXPECT_EQ(out[5000], std::byte{2});
}

TEST(ChunkCodec, DamageIsNamedAfterTheCompression)
{
    Bytes out(512);
    for (const ChunkType type :
        {ChunkType::adc, ChunkType::zlib, ChunkType::bzip2, ChunkType::lzfse, ChunkType::lzma}) {
        try {
            decodeChunk(type, Bytes(10), out);
            ADD_FAILURE();
        } catch (const bytes::FormatError& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(codecFor(type)->name));
        }
    }
}

} // namespace
