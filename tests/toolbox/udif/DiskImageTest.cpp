#include "TestDisk.h"

#include "bytes/ByteDevice.h"
#include "bytes/FormatError.h"
#include "udif/DiskImage.h"
#include "udif/ImageError.h"
#include "udif/ImageInfo.h"
#include "udif/Verification.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <sys/stat.h>
#include <system_error>

namespace {

using namespace testing_udif;
using namespace udif;

/// What opening ends with; none when it works.
std::optional<ImageError::Case> failureOf(
    const fs::path& path, DiskImage::Access access = DiskImage::Access::readOnly)
{
    try {
        DiskImage::open(path, access);
    } catch (const ImageError& error) {
        return error.which();
    }
    return {};
}

Bytes withText(Bytes content, std::size_t offset, std::string_view text)
{
    std::ranges::copy(
        std::as_bytes(std::span(text)), content.begin() + static_cast<std::ptrdiff_t>(offset));
    return content;
}

TEST(DiskImage, WhatIsNoImageIsSaidToBeNone)
{
    const Scratch scratch;
    const Bytes disk = diskOf(800);
    struct Row {
        const char* what;
        Bytes content;
        std::optional<ImageError::Case> failure;
    };
    const Row rows[] = {
        {"raw disk", disk, {}},
        {"empty file", {}, ImageError::Case::notRecognized},
        {"a few bytes", Bytes(7), ImageError::Case::notRecognized},
        {"zeros", Bytes(51200), ImageError::Case::notRecognized},
        {"disk with half a sector more",
            [&] {
                Bytes longer = disk;
                longer.resize(disk.size() + 256);
                return longer;
            }(),
            ImageError::Case::notRecognized},
        {"encrypted image", withText(Bytes(5120), 0, "encrcdsa"), ImageError::Case::encrypted},
        {"encrypted image of the first kind", withText(Bytes(5120), 5112, "cdsaencr"),
            ImageError::Case::encrypted},
    };
    for (const Row& row : rows) {
        writeFile(scratch / "file.dmg", row.content);
        EXPECT_EQ(failureOf(scratch / "file.dmg"), row.failure) << row.what;
    }
    EXPECT_EQ(failureOf(scratch.folder()), ImageError::Case::notRecognized);
    ASSERT_EQ(::mkfifo((scratch / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(failureOf(scratch / "pipe"), ImageError::Case::notRecognized);
    EXPECT_THROW(DiskImage::open(scratch / "missing"), std::system_error);
    EXPECT_STREQ(ImageError(ImageError::Case::encrypted).what(), "Authentication error");
    EXPECT_STREQ(ImageError(ImageError::Case::notRecognized).what(), "image not recognized");
}

TEST(DiskImage, OnlyARawImageOpenedForItIsWritable)
{
    const Scratch scratch;
    writeFile(scratch / "disk.img", diskOf(800));
    {
        DiskImage image = DiskImage::open(scratch / "disk.img", DiskImage::Access::readWrite);
        image.writableDisk().writeAt(50000, Bytes(3, std::byte{5}));
        EXPECT_THROW(
            image.writableDisk().writeAt(image.disk().size(), Bytes(1)), bytes::FormatError);
        EXPECT_EQ(image.disk().read(50001, 1)[0], std::byte{5});
    }
    EXPECT_EQ(readFile(scratch / "disk.img")[50002], std::byte{5});
    DiskImage readOnly = DiskImage::open(scratch / "disk.img");
    EXPECT_THROW(readOnly.writableDisk(), ImageError);

    convert(scratch / "disk.img", scratch / "out.dmg", ImageFormat::UDZO);
    EXPECT_EQ(failureOf(scratch / "out.dmg", DiskImage::Access::readWrite),
        ImageError::Case::notWritable);
}

TEST(DiskImage, FactsForImageinfo)
{
    const Scratch scratch;
    writeFile(scratch / "disk.img", diskOf(3 * 2048));
    convert(scratch / "disk.img", scratch / "out.dmg", ImageFormat::UDBZ);

    const ImageInfo raw = infoOf(DiskImage::open(scratch / "disk.img"));
    EXPECT_EQ(raw.format->code, "UDRW");
    EXPECT_EQ(raw.className, "CRawDiskImage");
    EXPECT_FALSE(raw.checksum.isCrc());
    EXPECT_TRUE(raw.writable && raw.partitioned && !raw.compressed && !raw.checksummed);

    const DiskImage image = DiskImage::open(scratch / "out.dmg");
    const ImageInfo info = infoOf(image);
    EXPECT_EQ(info.format->description, "UDIF read-only compressed (bzip2)");
    EXPECT_EQ(info.className, "CUDIFDiskImage");
    EXPECT_EQ(info.checksum.value, verifyImage(scratch / "out.dmg").masterComputed);
    EXPECT_EQ(info.sectorCount, 3U * 2048 + 73);
    EXPECT_EQ(info.totalBytes, info.sectorCount * 512);
    EXPECT_EQ(info.nonEmptyBytes, (2U * 2048 + 67) * 512); // the last chunk and the gap are zeros
    EXPECT_EQ(info.emptyBytes, (2048U + 6) * 512);
    EXPECT_LT(info.compressedRatio, 0.5);
    EXPECT_GT(info.compressedRatio, 0.2);
    EXPECT_EQ(info.encodingBytesWasted, 0U);
    EXPECT_TRUE(info.compressed && info.checksummed && info.orderedChunks && !info.writable);
    ASSERT_EQ(info.tables.size(), 7U);
    EXPECT_EQ(info.tables[0].number, -1);
    ASSERT_EQ(info.regions.size(), 7U);
    EXPECT_EQ(info.regions[4].hint, "Apple_HFS");
    EXPECT_EQ(info.regions[4].slice, 1U);
    EXPECT_FALSE(info.regions[4].synthesized);
}

TEST(DiskImage, ARawImageHasNothingToVerify)
{
    const Scratch scratch;
    writeFile(scratch / "disk.img", diskOf(800));
    const Verification result = verifyImage(scratch / "disk.img");
    EXPECT_FALSE(result.hasChecksums);
    EXPECT_TRUE(result.tables.empty());
}

TEST(ImageFormat, CodesAreReadWithoutRegardToCase)
{
    EXPECT_EQ(formatNamed("udzo").format, ImageFormat::UDZO);
    EXPECT_EQ(formatNamed("ULFO").format, ImageFormat::ULFO);
    for (const char* code : {"", "UDZ", "UDZOO", "ZLIB"})
        EXPECT_THROW(formatNamed(code), ImageError) << code;
}

} // namespace
