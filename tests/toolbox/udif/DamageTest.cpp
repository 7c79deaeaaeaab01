// Damaged images: whatever is wrong, the readers end with an error of their own or with data, soon,
// and within the file.

#include "TestDisk.h"

#include "bytes/ByteDevice.h"
#include "bytes/FormatError.h"
#include "udif/ChunkedDisk.h"
#include "udif/DiskImage.h"
#include "udif/DiskRegions.h"
#include "udif/ImageError.h"
#include "udif/ImageInfo.h"
#include "udif/Verification.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using namespace testing_udif;
using namespace udif;

enum class Verdict { whole, faulty, refused };

/// Does with an image in memory what the tools do with one in a file.
Verdict use(const Bytes& content)
{
    const bytes::MemoryDevice file(content);
    try {
        const Udif image = readUdif(file);
        const ChunkedDisk disk(file, image);
        regionsOf(readPartitionMap(disk), image.sectorCount());
        // Damage of a count can make a disk of petabytes, all of them zeros.
        const uint64_t length = std::min<uint64_t>(disk.size(), 1 << 20);
        disk.read(disk.size() - length, length);
        return verifyUdif(file, image, {.threads = 1}).valid() ? Verdict::whole : Verdict::faulty;
    } catch (const bytes::FormatError&) {
        return Verdict::refused;
    }
}

class Damage : public testing::TestWithParam<ImageFormat> {
protected:
    Damage()
    {
        const Scratch scratch;
        writeFile(scratch / "disk.img", diskOf(64));
        convert(scratch / "disk.img", scratch / "out.dmg", GetParam());
        m_image = readFile(scratch / "out.dmg");
    }

    Bytes m_image;
};

TEST_P(Damage, EveryTruncationIsRefused)
{
    ASSERT_EQ(use(m_image), Verdict::whole);
    // All lengths around the structures, every 37th elsewhere.
    for (std::size_t length = 0; length < m_image.size(); ++length) {
        const bool nearEnd = m_image.size() - length < 600;
        if (nearEnd || length % 37 == 0 || length < 600) {
            ASSERT_EQ(use(Bytes(m_image.begin(), m_image.begin() + static_cast<long>(length))),
                Verdict::refused)
                << length;
        }
    }
}

TEST_P(Damage, ABitFlippedInTheDataForkIsNeverMissed)
{
    const Udif image = readUdif(bytes::MemoryDevice(m_image));
    for (std::size_t i = 0; i < image.trailer.dataForkLength; i += 37) {
        Bytes damaged = m_image;
        damaged[i] ^= static_cast<std::byte>(1 << i % 8);
        ASSERT_NE(use(damaged), Verdict::whole) << i;
    }
}

TEST_P(Damage, ChangedBytesNeverDoHarm)
{
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    std::size_t noticed = 0;
    constexpr std::size_t rounds = 600;
    for (std::size_t round = 0; round < rounds; ++round) {
        Bytes damaged = m_image;
        const std::size_t changes = 1 + random() % 4;
        for (std::size_t i = 0; i < changes; ++i) {
            // Half of them in the trailer, where each byte means something.
            const std::size_t offset =
                random() % 2 == 0 ? m_image.size() - 1 - random() % 512 : random() % m_image.size();
            damaged[offset] = static_cast<std::byte>(random());
        }
        noticed += use(damaged) != Verdict::whole;
    }
    EXPECT_GT(noticed, rounds / 3); // much of the trailer and of the list is free to change
}

INSTANTIATE_TEST_SUITE_P(Formats, Damage,
    testing::Values(ImageFormat::UDRO, ImageFormat::UDZO, ImageFormat::UDBZ, ImageFormat::ULFO,
        ImageFormat::ULMO));

TEST(Damage, ADamagedPartitionMapDoesNotHideTheVerdictOnTheTables)
{
    const Scratch scratch;
    writeFile(scratch / "disk.img", diskOf(64));
    convert(scratch / "disk.img", scratch / "out.dmg", ImageFormat::UDZO);
    Bytes damaged = readFile(scratch / "out.dmg");
    damaged[10] ^= std::byte{1}; // in the chunk of the first sector
    writeFile(scratch / "out.dmg", damaged);
    const Verification result = verifyImage(scratch / "out.dmg");
    ASSERT_EQ(result.tables.size(), 7U);
    EXPECT_FALSE(result.tables[0].valid());
    EXPECT_TRUE(result.tables[1].valid());
    EXPECT_FALSE(result.valid());
    EXPECT_THROW(infoOf(DiskImage::open(scratch / "out.dmg")), bytes::FormatError);
}

} // namespace
