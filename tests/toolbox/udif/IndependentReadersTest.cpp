// What 7-Zip and dmg2img say of our images. Both must be able to object, so each approval is paired
// with a damage that is refused.

#include "TestDisk.h"

#include "udif/DiskImage.h"
#include "udif/Udif.h"
#include "udif/Verification.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace testing_udif;
using namespace udif;
using testing::HasSubstr;
using testing::Not;

class IndependentReaders : public testing::Test {
protected:
    void SetUp() override
    {
        // One chunk of the volume that no codec makes smaller.
        fillWithNoise(
            std::span(m_disk).subspan((40 + 2 * 2048) * sectorBytes, 2048 * sectorBytes), 3);
        writeFile(m_scratch / "disk.img", m_disk);
        ASSERT_EQ(run("command -v 7zz dmg2img").status, 0) << "7zip and dmg2img are needed";
    }

    /// 7-Zip's verdict on the container, not on the volume inside. It reports some checksums as
    /// warnings only.
    static bool sevenZipApproves(const fs::path& image)
    {
        const Outcome outcome = run("7zz t -tdmg " + image.string());
        return outcome.status == 0 && outcome.output.find("WARNING") == std::string::npos
            && outcome.output.find("Everything is Ok") != std::string::npos;
    }

    Scratch m_scratch;
    Bytes m_disk = diskOf(3 * 2048 + 100);
};

TEST_F(IndependentReaders, SevenZipFindsNoFault)
{
    for (const ImageFormat format : {ImageFormat::UDRO, ImageFormat::UDZO, ImageFormat::UDBZ,
             ImageFormat::ULFO, ImageFormat::ULMO}) {
        SCOPED_TRACE(factsOf(format).code);
        const fs::path image = m_scratch / "out.dmg";
        convert(m_scratch / "disk.img", image, format);
        EXPECT_TRUE(sevenZipApproves(image)) << run("7zz t -tdmg " + image.string()).output;
        const std::string list = run("7zz l -tdmg " + image.string()).output;
        EXPECT_THAT(list, HasSubstr("4.hfs"));
        const std::string unpacked = (m_scratch / "4.hfs").string();
        run("7zz x -y -tdmg -o" + m_scratch.folder().string() + " " + image.string() + " 4.hfs");
        EXPECT_TRUE(std::ranges::equal(readFile(unpacked),
            std::span(m_disk).subspan(40 * sectorBytes, (3 * 2048 + 100) * sectorBytes)));
        fs::remove(unpacked);
        EXPECT_TRUE(verifyImage(image).valid());
    }
}

TEST_F(IndependentReaders, Dmg2imgGivesTheSameDisk)
{
    for (const ImageFormat format : {ImageFormat::UDZO, ImageFormat::UDBZ}) {
        SCOPED_TRACE(factsOf(format).code);
        convert(m_scratch / "disk.img", m_scratch / "out.dmg", format);
        const Outcome outcome = run("dmg2img " + (m_scratch / "out.dmg").string() + " "
            + (m_scratch / "back.img").string());
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        EXPECT_EQ(readFile(m_scratch / "back.img"), m_disk);
    }
}

TEST_F(IndependentReaders, OneFlippedByteIsFoundByThemAndByUs)
{
    const fs::path image = m_scratch / "out.dmg";
    convert(m_scratch / "disk.img", image, ImageFormat::UDZO);
    const Bytes whole = readFile(image);
    const DiskImage opened = DiskImage::open(image);
    const Chunk& compressed = opened.udif()->tables[4].chunks[0];
    const Chunk& plain = opened.udif()->tables[4].chunks[2];
    ASSERT_EQ(compressed.type, ChunkType::zlib);
    ASSERT_EQ(plain.type, ChunkType::raw);
    const std::size_t trailer = whole.size() - 512;

    // The checksum of the volume's table lies in base64: another letter is another sum.
    const std::string text(reinterpret_cast<const char*>(whole.data()), whole.size());
    const std::size_t volumeTable = text.find("<data>", text.find("<string>disk image"));
    // Byte 73 of the record is in letter 97 of lines of 44, each with four tabs and a line feed.
    const std::size_t letter = text.find_first_not_of("\n\t", volumeTable + 6) + 97 + 97 / 44 * 5;

    using Fault = Verification::Fault;
    struct Row {
        const char* what;
        std::size_t offset;
        Fault fault;
    };
    const Row rows[] = {
        {"compressed chunk", compressed.offset + compressed.length / 2, Fault::chunk},
        {"compressed chunk's own checksum", compressed.offset + compressed.length - 1,
            Fault::chunk},
        {"raw chunk", plain.offset + plain.length / 2, Fault::tableChecksum},
        {"table checksum", letter, Fault::tableChecksum},
        {"data fork checksum", trailer + 88, Fault::dataForkChecksum},
        {"master checksum", trailer + 360, Fault::masterChecksum},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Bytes damaged = whole;
        // In base64 another letter, elsewhere another bit.
        const auto other = static_cast<std::byte>(text[row.offset] == 'A' ? 'B' : 'A');
        damaged[row.offset] = row.offset == letter ? other : whole[row.offset] ^ std::byte{1};
        writeFile(image, damaged);
        EXPECT_FALSE(sevenZipApproves(image));
        const Verification result = verifyImage(image);
        EXPECT_TRUE(std::ranges::any_of(result.findings, [&](auto& finding) {
            return finding.fault == row.fault;
        })) << testing::PrintToString(result.findings.size());
    }
}

} // namespace
