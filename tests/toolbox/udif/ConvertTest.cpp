#include "TestDisk.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "udif/DiskImage.h"
#include "udif/ImageError.h"
#include "udif/Udif.h"
#include "udif/Verification.h"

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <system_error>

namespace {

using namespace testing_udif;
using namespace udif;

class Convert : public testing::Test {
protected:
    void SetUp() override { writeFile(m_raw, m_disk); }

    std::vector<std::string> filesLeft() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_scratch.folder()))
            names.push_back(entry.path().filename());
        return names;
    }

    Scratch m_scratch;
    fs::path m_raw = m_scratch / "disk.img";
    fs::path m_image = m_scratch / "out.dmg";
    Bytes m_disk = diskOf(5 * 2048 + 24);
};

constexpr std::array writable{ImageFormat::UDRW, ImageFormat::UDRO, ImageFormat::UDZO,
    ImageFormat::UDBZ, ImageFormat::ULFO, ImageFormat::ULMO};

TEST_F(Convert, EveryFormatGivesTheDiskBackAndLeadsToTheNext)
{
    const PartitionMap partitions = DiskImage::open(m_raw).partitions();
    fs::path source = m_raw;
    for (const ImageFormat format : writable) {
        SCOPED_TRACE(factsOf(format).code);
        const fs::path made = m_scratch / (std::string(factsOf(format).code) + ".dmg");
        convert(source, made, format);
        const DiskImage image = DiskImage::open(made);
        EXPECT_EQ(image.format().format, format);
        EXPECT_EQ(image.disk().read(0, image.disk().size()), m_disk);
        EXPECT_EQ(image.partitions(), partitions);
        source = made;
    }
    convert(source, m_image, ImageFormat::UDRW);
    EXPECT_EQ(readFile(m_image), m_disk);
}

TEST_F(Convert, ReadsAnywhereInTheDecodedDiskGiveTheSameBytes)
{
    convert(m_raw, m_image, ImageFormat::UDZO);
    const DiskImage image = DiskImage::open(m_image);
    for (uint64_t step = 1; step < 40; ++step) {
        const uint64_t offset = step * 7919 * 111 % m_disk.size();
        const auto length = static_cast<std::size_t>(
            std::min<uint64_t>(step * step * 1800, m_disk.size() - offset));
        const auto expected = std::span(m_disk).subspan(offset, length);
        ASSERT_TRUE(std::ranges::equal(image.disk().read(offset, length), expected)) << offset;
    }
    EXPECT_THROW(image.disk().read(m_disk.size() - 1, 2), bytes::FormatError);
    EXPECT_THROW(image.disk().read(UINT64_MAX, 2), bytes::FormatError);
}

TEST_F(Convert, TheResultDependsOnContentAndOptionsOnly)
{
    ConvertOptions options;
    options.threads = 1;
    convert(m_raw, m_image, options);
    const Bytes expected = readFile(m_image);
    for (const unsigned threads : {2U, 5U}) {
        options.threads = threads;
        convert(m_raw, m_image, options);
        EXPECT_EQ(readFile(m_image), expected);
    }
    options.segmentID.emplace().fill(std::byte{9});
    convert(m_raw, m_image, options);
    EXPECT_NE(readFile(m_image), expected);
}

TEST_F(Convert, ChunksAreKeptInTheWayThatSuitsTheirContent)
{
    convert(m_raw, m_image, ImageFormat::UDZO);
    const DiskImage image = DiskImage::open(m_image);
    const auto& tables = image.udif()->tables;
    ASSERT_EQ(tables.size(), 7U);
    EXPECT_EQ(tables[3].chunks[0].type, ChunkType::ignored);
    EXPECT_EQ(tables[3].checksum, StoredChecksum::ofCrc(0));
    const std::vector<ChunkType> expected{ChunkType::zlib, ChunkType::zlib, ChunkType::zlib,
        ChunkType::zlib, ChunkType::zeros, ChunkType::zeros};
    std::vector<ChunkType> types;
    for (const Chunk& chunk : tables[4].chunks)
        types.push_back(chunk.type);
    EXPECT_EQ(types, expected);
    EXPECT_EQ(tables[4].chunks[0].sectorCount, 2048U);
    EXPECT_EQ(tables[4].chunks[5].sectorCount, 24U);
    EXPECT_EQ(tables[4].buffersNeeded, 2056U);

    // A whole chunk of noise, and content in the gap before the volume.
    fillWithNoise(std::span(m_disk).subspan(40 * 512, 2048 * 512), 3);
    fillWithNoise(std::span(m_disk).subspan(35 * 512, 512), 4);
    writeFile(m_raw, m_disk);
    convert(m_raw, m_image, ImageFormat::UDBZ);
    const DiskImage noisy = DiskImage::open(m_image);
    EXPECT_EQ(noisy.udif()->tables[4].chunks[0].type, ChunkType::raw);
    EXPECT_EQ(noisy.disk().read(0, m_disk.size()), m_disk);
    EXPECT_TRUE(verifyImage(m_image).valid());
}

TEST_F(Convert, ReportsTablesAndProgressInOrder)
{
    ConvertOptions options;
    std::vector<std::string> lines;
    uint64_t last = 0;
    options.tableBegins = [&](const std::string& table) { lines.push_back("begin " + table); };
    options.tableDone = [&](const std::string& table, std::optional<uint32_t> crc) {
        EXPECT_TRUE(crc);
        lines.push_back("done " + table);
    };
    options.progress = [&](uint64_t done, uint64_t all) {
        EXPECT_GT(done, last);
        EXPECT_EQ(all, m_disk.size() / 512);
        last = done;
    };
    const ConvertReport report = convert(m_raw, m_image, options);
    EXPECT_EQ(last, m_disk.size() / 512);
    ASSERT_EQ(lines.size(), 14U);
    EXPECT_EQ(lines[8], "begin disk image (Apple_HFS : 4)");
    EXPECT_EQ(lines[9], "done disk image (Apple_HFS : 4)");

    const Verification check = verifyImage(m_image);
    ASSERT_EQ(check.tables.size(), report.tables.size());
    for (std::size_t i = 0; i < report.tables.size(); ++i)
        EXPECT_EQ(check.tables[i].computed, report.tables[i].crc);
    EXPECT_EQ(report.masterChecksum, check.masterComputed);
    EXPECT_EQ(report.fileBytes, fs::file_size(m_image));
}

TEST_F(Convert, ASparseDiskIsConvertedByItsContent)
{
    // 64 GiB, almost all holes: reading them would take minutes.
    constexpr uint64_t sectors = (uint64_t{64} << 30) / 512;
    const SingleVolumeDisk plan = planOf(sectors);
    {
        auto file = bytes::File::open(m_scratch / "sparse.img", bytes::File::Mode::create);
        file.resize(plan.diskSectors() * 512);
        writeGuidPartitionTable(file, plan);
        file.writeAt(uint64_t{33} << 30, std::span(m_disk).subspan(40 * 512, 100000));
    }
    ConvertOptions options;
    const ConvertReport report = convert(m_scratch / "sparse.img", m_image, options);
    EXPECT_LT(report.storedSectors, 2048U * 4);
    EXPECT_LT(fs::file_size(m_image), uint64_t{8} << 20);
    const DiskImage image = DiskImage::open(m_image);
    EXPECT_TRUE(std::ranges::equal(image.disk().read(uint64_t{33} << 30, 100000),
        std::span(m_disk).subspan(40 * 512, 100000)));
}

TEST_F(Convert, ARawImageHasHolesWhereTheDiskHasZeros)
{
    convert(m_raw, m_image, ImageFormat::UDZO);
    convert(m_image, m_scratch / "back.img", ImageFormat::UDRW);
    struct stat status { };
    ASSERT_EQ(::stat((m_scratch / "back.img").c_str(), &status), 0);
    EXPECT_EQ(static_cast<std::size_t>(status.st_size), m_disk.size());
    EXPECT_LT(static_cast<uint64_t>(status.st_blocks) * 512, m_disk.size() * 4 / 5);
}

TEST_F(Convert, FailuresAreNamedAndLeaveNothingBehind)
{
    const auto left = filesLeft();
    const auto attempt = [&](ConvertOptions options) {
        convertImage(DiskImage::open(m_raw), m_image, options);
    };
    try {
        convert(m_raw, m_image, ImageFormat::UDCO);
        ADD_FAILURE();
    } catch (const ImageError& error) {
        EXPECT_EQ(error.which(), ImageError::Case::formatNotWritable);
        EXPECT_THAT(error.what(), testing::HasSubstr("UDCO"));
    }

    std::stop_source stop;
    ConvertOptions stopped;
    stopped.stop = stop.get_token();
    stopped.progress = [&](uint64_t done, uint64_t) {
        if (done > 3000)
            stop.request_stop();
    };
    EXPECT_THROW(attempt(stopped), ImageError);

    ConvertOptions failing;
    failing.progress = [](uint64_t, uint64_t) { throw std::runtime_error("caller"); };
    EXPECT_THROW(attempt(failing), std::runtime_error);
    EXPECT_EQ(filesLeft(), left);

    EXPECT_THROW(
        convertImage(DiskImage::open(m_raw), m_scratch / "no/such/folder", {}), std::system_error);
    writeFile(m_image, Bytes(3));
    EXPECT_THROW(attempt({}), std::system_error);
    EXPECT_EQ(fs::file_size(m_image), 3U);
}

TEST_F(Convert, ADamagedSourceEndsTheJob)
{
    convert(m_raw, m_image, ImageFormat::UDZO);
    Bytes damaged = readFile(m_image);
    const uint64_t offset = DiskImage::open(m_image).udif()->tables[4].chunks[1].offset;
    damaged[offset + 100] ^= std::byte{4};
    writeFile(m_image, damaged);
    EXPECT_THROW(convert(m_image, m_scratch / "second.dmg", ImageFormat::UDRW), bytes::FormatError);
    EXPECT_FALSE(fs::exists(m_scratch / "second.dmg"));
}

/// Files of this process end at a limit, as on a full disk, until the object goes.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        m_handler = std::signal(SIGXFSZ, SIG_IGN);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
    void (*m_handler)(int) = nullptr;
};

TEST_F(Convert, ADiskThatFillsUpEndsInOneErrorAndNoFile)
{
    const auto left = filesLeft();
    for (const ImageFormat format : writable) {
        SCOPED_TRACE(factsOf(format).code);
        const FileSizeLimit limit(300000);
        EXPECT_THROW(convert(m_raw, m_image, format), std::system_error);
        EXPECT_EQ(filesLeft(), left);
    }
}

} // namespace
