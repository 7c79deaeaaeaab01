#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"
#include "bytes/Crc32.h"
#include "bytes/FormatError.h"

#include <gtest/gtest.h>

namespace {

using namespace bytes;

struct Sample {
    be16 magic;
    le32 count;
    be64 size;
};
static_assert(sizeof(Sample) == 14 && isStoredRecord<Sample>);

std::span<const std::byte> bytesOf(std::string_view text)
{
    return std::as_bytes(std::span(text.data(), text.size()));
}

TEST(StoredIntegers, LieInTheFileInTheirOwnByteOrder)
{
    const Sample sample{0x4244, 0x01020304, 0x1122334455667788};
    ByteWriter writer;
    writer.record(sample);

    const std::string expected("\x42\x44\x04\x03\x02\x01\x11\x22\x33\x44\x55\x66\x77\x88", 14);
    EXPECT_TRUE(std::ranges::equal(writer.bytes(), bytesOf(expected)));

    const auto back = recordAt<Sample>(writer.bytes());
    EXPECT_EQ(back.magic, 0x4244);
    EXPECT_EQ(back.count, 0x01020304U);
    EXPECT_EQ(back.size, 0x1122334455667788U);
}

TEST(ByteReader, StopsAtTheEndAndSaysWhere)
{
    ByteReader reader(bytesOf(std::string_view("\x00\x01\x00\x41\x00", 5)), 1000);
    EXPECT_EQ(reader.u16(), 1);
    EXPECT_EQ(reader.utf16(1), u"A");
    try {
        reader.u32();
        FAIL() << "read past the end";
    } catch (const FormatError& error) {
        EXPECT_EQ(error.offset(), 1004U);
    }
    EXPECT_EQ(reader.remaining(), 1U) << "a refused read must not move the cursor";
    // Counts whose byte size would wrap around.
    EXPECT_THROW(reader.utf16(SIZE_MAX), FormatError);
    EXPECT_THROW(reader.utf16(SIZE_MAX / 2 + 1), FormatError);
    EXPECT_THROW(reader.seek(6), FormatError);
}

TEST(Crc32, JoinsAndSkipsZerosLikeTheWholeRun)
{
    EXPECT_EQ(crc32(bytesOf("123456789")), 0xCBF43926U);

    const std::string first = "the first run, ";
    const std::string second = "and the second";
    EXPECT_EQ(crc32Joined(crc32(bytesOf(first)), crc32(bytesOf(second)), second.size()),
        crc32(bytesOf(first + second)));

    for (const std::size_t count : {0UL, 1UL, 7UL, 512UL, 1000003UL}) {
        const std::string zeros(count, '\0');
        EXPECT_EQ(crc32ThenZeros(crc32(bytesOf(first)), count), crc32(bytesOf(first + zeros)))
            << count << " zeros";
    }
}

TEST(ByteWriter, PadsAndAligns)
{
    ByteWriter writer;
    writer.u8(1);
    writer.align(4);
    EXPECT_EQ(writer.size(), 4U);
    writer.align(4);
    EXPECT_EQ(writer.size(), 4U);
    writer.padTo(2);
    EXPECT_EQ(writer.size(), 4U) << "padding never cuts";
    writer.padTo(9);
    EXPECT_EQ(writer.size(), 9U);
}

} // namespace
