#include "hfsplus/VolumeBuilder.h"

#include "TemporaryFolder.h"
#include "bytes/File.h"
#include "bytes/Unicode.h"
#include "hfsplus/Names.h"
#include "hfsplus/Volume.h"
#include "hfsplus/VolumeChecker.h"
#include "macfile/Metadata.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <map>
#include <sys/stat.h>

using namespace hfsplus;
namespace fs = std::filesystem;

namespace {

/// A volume in a file of its own.
class BuiltVolume {
public:
    BuiltVolume(const fs::path& source, BuildOptions options)
        : m_builder(source, std::move(options))
        , m_file(bytes::File::open(path(), bytes::File::Mode::create))
    {
        m_file.resize(m_builder.volumeBytes());
    }
    /// Every volume of these tests goes through the checker.
    BuildReport write(const ContentWriter::Progress& progress = {})
    {
        const BuildReport report = m_builder.write(m_file, progress);
        for (const Finding& finding : checkVolume(m_file))
            ADD_FAILURE() << finding.message;
        return report;
    }

    fs::path path() const { return m_folder.path() / "volume"; }
    bytes::File& file() { return m_file; }
    uint64_t allocatedBytes() const
    {
        struct stat status { };
        ::stat(path().c_str(), &status);
        return static_cast<uint64_t>(status.st_blocks) * 512;
    }

private:
    TemporaryFolder m_folder;
    VolumeBuilder m_builder;
    bytes::File m_file;
};

/// Path, in the volume's form of names, to what is there.
using Contents = std::map<std::string, std::string>;

Contents contentsOf(const fs::path& folder)
{
    Contents contents;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        std::string name;
        for (const fs::path& part : entry.path().lexically_relative(folder))
            name += "/" + bytes::utf8FromUtf16(nameFromHost(part.string()));
        const fs::file_status status = entry.symlink_status();
        contents[name] = fs::is_symlink(status) ? "link to " + fs::read_symlink(entry).string()
            : fs::is_directory(status)          ? "folder"
                                                : "file " + contentOf(entry.path());
    }
    return contents;
}

std::string repeated(std::string_view text, std::size_t count)
{
    std::string out;
    while (count-- > 0)
        out += text;
    return out;
}

/// Names that have tripped somebody, and contents around the block's size.
void fillWithOddNames(const TemporaryFolder& folder)
{
    const std::string names[] = {"plain.txt", "Caf\xC3\xA9 compose\xCC\x81", "日本語/ファイル.txt",
        "한국어 각.txt", "emoji 😀👩‍👩‍👧.txt", "it's \"quoted\" $HOME `x` \\ *?",
        "  blanks  ", "_under", "Under", std::string(255, 'n'), repeated("é", 85),
        repeated("字", 85), "deep/er/and/deeper/still", "-rf", "%41", ".hidden", "Icon\r"};
    std::size_t size = 0;
    for (const std::string& name : names) {
        const fs::path path =
            folder.write(name, std::string(size, static_cast<char>('a' + size % 26)));
        ::chmod(path.c_str(), size % 2 != 0 ? 0755 : 0644);
        size += 1365; // reaches 4095 and goes on
    }
    folder.write("exactly one block", std::string(4096, 'x'));
    folder.write("empty", "");
    fs::create_directory(folder.path() / "empty folder");
    fs::create_symlink("日本語/ファイル.txt", folder.path() / "relative link");
}

bool hasSevenZip()
{
    return std::system("7zz >/dev/null 2>&1") == 0;
}

/// What an independent reader extracts from the volume.
Contents extractedBySevenZip(const fs::path& volume)
{
    const TemporaryFolder out;
    const std::string command = "7zz x -snld -o'" + out.path().string() + "' '" + volume.string()
        + "' >'" + out.path().string() + "/log'";
    EXPECT_EQ(std::system(command.c_str()), 0) << contentOf(out.path() / "log");
    fs::remove(out.path() / "log");
    const fs::path root = fs::directory_iterator(out.path())->path();
    return contentsOf(root);
}

} // namespace

TEST(VolumeBuilder, AnIndependentReaderFindsEverything)
{
    if (!hasSevenZip())
        GTEST_SKIP() << "7zz is not installed";
    const TemporaryFolder folder;
    fillWithOddNames(folder);
    for (const uint32_t blockSize : {512U, 1024U, 65536U, 4096U}) {
        SCOPED_TRACE(blockSize);
        for (int i = 0; blockSize == 4096 && i < 10'000; ++i)
            folder.write("many/small file " + std::to_string(i), "number " + std::to_string(i));
        BuiltVolume volume(folder, {.volumeName = "Odd", .blockSize = blockSize});
        volume.write();
        const Contents source = contentsOf(folder);
        const Contents extracted = extractedBySevenZip(volume.path());
        EXPECT_EQ(extracted.size(), source.size());
        for (const auto& [path, content] : source)
            EXPECT_TRUE(extracted.contains(path) && extracted.at(path) == content) << path;
    }
}

TEST(VolumeBuilder, HeaderSaysWhatAMacExpects)
{
    const TemporaryFolder folder;
    folder.write("sub/a", "x");
    folder.write("b", "");
    fs::create_symlink("b", folder.path() / "link");
    BuiltVolume volume(folder,
        {.volumeName = "1/2 Café", .slackBytes = 5 << 20, .volumeID = 0x1234'5678'0000'0000});
    const BuildReport report = volume.write();
    EXPECT_EQ(report.files, 3U);
    EXPECT_EQ(report.folders, 1U);
    EXPECT_GE(report.freeBytes, 5U << 20);

    const Volume read(volume.file());
    EXPECT_EQ(read.name(), "1/2 Café");
    const VolumeHeader& header = read.header();
    EXPECT_EQ(header.signature, signatureHFSPlus);
    EXPECT_EQ(header.attributes, volumeUnmounted | volumeUnusedNodesZero);
    EXPECT_EQ(header.fileCount, 3U);
    EXPECT_EQ(header.folderCount, 1U);
    EXPECT_EQ(header.nextCatalogID, 20U);
    EXPECT_EQ(header.createDate, header.modifyDate);
    EXPECT_EQ(header.finderInfo[2], rootFolderID);
    EXPECT_EQ(header.finderInfo[6], 0x12345678U);
    EXPECT_NE(header.finderInfo[7], 0U);
    EXPECT_EQ(header.attributesFile, ForkData{}) << "nothing has attributes";
    EXPECT_EQ(uint64_t{header.totalBlocks} * header.blockSize, report.volumeBytes);
    EXPECT_EQ(uint64_t{header.freeBlocks} * header.blockSize, report.freeBytes);

    const auto copy = volume.file().read(report.volumeBytes - alternateHeaderDistance, 512);
    EXPECT_TRUE(std::ranges::equal(copy, bytes::recordBytes(header)));
}

TEST(VolumeBuilder, SlashesAndAbsoluteLinksArrive)
{
    const TemporaryFolder folder;
    folder.write("a:b", "x");
    fs::create_symlink("/Applications", folder.path() / "Applications");
    BuiltVolume volume(folder, {.volumeName = "Slashes"});
    volume.write();
    const Volume read(volume.file());
    const std::vector<Entry> entries = read.children(rootFolderID);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].name, u"a/b");
    EXPECT_EQ(read.linkTarget(entries[1]), "/Applications");
    EXPECT_EQ(entries[1].permissions.fileMode, 0120755);
}

TEST(VolumeBuilder, MetadataOfEachKindArrives)
{
    macfile::Metadata metadata;
    metadata.setFinderFlags(macfile::finderFlag::customIcon, true);
    metadata.attributes["com.apple.quarantine"] = {std::byte{'q'}};
    metadata.attributes["com.example.empty"] = {};
    metadata.attributes["com.example.largest inline"].assign(3802, std::byte{1});
    metadata.attributes["com.example.in blocks"].assign(3803, std::byte{2});
    metadata.attributes["com.example.large"].assign(50'000, std::byte{3});

    const TemporaryFolder folder;
    const fs::path file = folder.write("file", "content");
    folder.write("sub/x", "x");
    folder.write("without", "");
    macfile::writeMetadata(folder.path() / "sub", metadata);
    macfile::writeMetadata(folder.path(), metadata);
    metadata.resourceFork.assign(70'001, std::byte{4});
    macfile::writeMetadata(file, metadata);

    BuiltVolume volume(folder, {.volumeName = "Metadata"});
    volume.write();
    const Volume read(volume.file());
    EXPECT_EQ(read.metadata(*read.find("file")), metadata);
    metadata.resourceFork.clear();
    EXPECT_EQ(read.metadata(*read.find("sub")), metadata);
    EXPECT_EQ(read.metadata(read.root()), metadata);
    EXPECT_TRUE(read.metadata(*read.find("without")).empty());
    EXPECT_EQ(read.find("without")->flags, recordThreadExists);
    EXPECT_EQ(read.find("sub")->flags, recordHasAttributes);
    EXPECT_EQ(read.children(rootFolderID).size(), 3U) << "companions are no files";
}

TEST(VolumeBuilder, HardLinksShareOneFile)
{
    const TemporaryFolder folder;
    for (int i = 0; i < 12; ++i) { // IDs of one digit more among them
        const std::string number = std::to_string(i);
        const fs::path first = folder.write("first " + number, "shared " + number);
        fs::create_hard_link(first, folder.path() / ("second " + number));
        fs::create_hard_link(first, folder.path() / ("third " + number));
    }
    for (int i = 0; i < 60; ++i)
        folder.write("plain " + std::to_string(i), "");
    BuiltVolume volume(folder, {.volumeName = "Links"});
    volume.write();

    const Volume read(volume.file());
    const Entry second = *read.find("second 7");
    EXPECT_TRUE(second.isHardLink());
    EXPECT_EQ(second.contentID, read.find("first 7")->contentID);
    EXPECT_EQ(second.contentID, read.find("third 7")->contentID);
    EXPECT_EQ(second.permissions.special, 3U);
    const auto content = read.dataFork(second).read(0, 8);
    EXPECT_TRUE(std::ranges::equal(content, std::as_bytes(std::span("shared 7", 8))));
    EXPECT_EQ(read.header().fileCount, 36U + 60 + 12);
    EXPECT_EQ(read.header().folderCount, 1U);
    EXPECT_EQ(read.children(rootFolderID).size(), 96U) << "the private folder stays out of sight";
}

TEST(VolumeBuilder, EqualFoldersMakeEqualVolumes)
{
    const TemporaryFolder folders[2];
    for (const TemporaryFolder& folder : folders) {
        fillWithOddNames(folder);
        for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
            const timespec times[] = {{0, UTIME_NOW}, {1'500'000'000, 0}};
            ::utimensat(AT_FDCWD, entry.path().c_str(), times, AT_SYMLINK_NOFOLLOW);
        }
        // Lists its names in another order on most hosts, and is younger than the limit.
        fs::rename(folder.path() / "plain.txt", folder.path() / "moved");
        fs::rename(folder.path() / "moved", folder.path() / "plain.txt");
    }
    std::vector<std::byte> volumes[2];
    for (int i = 0; i < 2; ++i) {
        BuiltVolume volume(
            folders[i], {.volumeName = "Same", .fixedTime = 3'600'000'000, .volumeID = 5});
        const BuildReport report = volume.write();
        volumes[i] = volume.file().read(0, report.volumeBytes);
    }
    EXPECT_TRUE(volumes[0] == volumes[1]);
}

TEST(VolumeBuilder, AFileThatChangesMeanwhileIsNamed)
{
    const struct {
        const char* what;
        void (*change)(const fs::path&);
        const char* reason;
    } rows[] = {
        {"grown", [](const fs::path& file) { fs::resize_file(file, 9000); },
            "the file changed while it was copied"},
        {"shrunk", [](const fs::path& file) { fs::resize_file(file, 10); },
            "the file changed while it was copied"},
        {"gone", [](const fs::path& file) { fs::remove(file); }, "No such file or directory"},
        {"a link now",
            [](const fs::path& file) {
                fs::remove(file);
                fs::create_symlink("/etc/passwd", file);
            },
            "Too many levels of symbolic links"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const TemporaryFolder folder;
        const fs::path file = folder.write("sub/file", std::string(5000, 'x'));
        BuiltVolume volume(folder, {.volumeName = "Changing"});
        row.change(file);
        try {
            volume.write();
            ADD_FAILURE();
        } catch (const SourceError& error) {
            EXPECT_EQ(error.what(), file.string() + ": " + row.reason);
        }
    }
}

TEST(VolumeBuilder, FilesBeyondFourGigabytesArriveAndStaySparse)
{
    const TemporaryFolder folder;
    const fs::path large = folder.write("large", "start");
    const uint64_t size = (uint64_t{4} << 30) + 4097;
    fs::resize_file(large, size);
    bytes::File::open(large, bytes::File::Mode::readWrite)
        .writeAt(size - 1, std::vector(1, std::byte{'E'}));
    folder.write("small behind it", "behind");

    BuiltVolume volume(folder, {.volumeName = "Large"});
    volume.write();
    EXPECT_LT(volume.allocatedBytes(), 4U << 20);
    const Volume read(volume.file());
    const Entry entry = *read.find("large");
    EXPECT_EQ(entry.dataFork.logicalSize, size);
    EXPECT_EQ(read.dataFork(entry).read(0, 1)[0], std::byte{'s'});
    EXPECT_EQ(read.dataFork(entry).read(size - 1, 1)[0], std::byte{'E'});
    EXPECT_EQ(read.dataFork(*read.find("small behind it")).read(0, 1)[0], std::byte{'b'});
}

TEST(VolumeBuilder, WhatSeveralThreadsCopyInPortionsArrivesWhole)
{
    constexpr std::size_t portion = 4 << 20;
    const TemporaryFolder folder;
    for (const std::size_t size : {portion, portion + 1, 5 * portion / 2}) {
        std::string content(size, '\0');
        for (std::size_t at = 0; at < size; at += 509)
            content[at] = static_cast<char>('a' + at % 23);
        folder.write("dense " + std::to_string(size), content);
    }
    // Holes that begin, end and lie across the bounds.
    const fs::path sparse = folder.write("sparse", "start");
    fs::resize_file(sparse, 4 * portion + 1);
    auto file = bytes::File::open(sparse, bytes::File::Mode::readWrite);
    for (const std::size_t at : {portion - 4096, 2 * portion, 3 * portion - 1})
        file.writeAt(at, std::vector(2, std::byte{'m'}));
    macfile::Metadata metadata;
    metadata.resourceFork.assign(70000, std::byte{'r'});
    macfile::writeMetadata(sparse, metadata);
    folder.write("small", "behind");

    BuiltVolume volume(folder, {.volumeName = "Portions", .slackBytes = 1, .slackPercent = 50});
    uint64_t done = 0;
    uint64_t all = 0;
    const BuildReport report = volume.write([&](uint64_t now, uint64_t inAll) {
        EXPECT_GE(now, done);
        done = now;
        all = inAll;
    });
    EXPECT_EQ(done, all);
    EXPECT_GT(all, 8 * portion);
    EXPECT_GT(report.freeBytes, all / 100 * 49);
    const Volume read(volume.file());
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename();
        if (name.starts_with("._"))
            continue;
        const auto source = bytes::File::open(entry.path(), bytes::File::Mode::read);
        EXPECT_TRUE(
            read.dataFork(*read.find(name)).read(0, source.size()) == source.read(0, source.size()))
            << name;
    }
    EXPECT_EQ(read.resourceFork(*read.find("sparse")).read(69999, 1)[0], std::byte{'r'});
}

TEST(VolumeBuilder, SizesAreKept)
{
    const TemporaryFolder folder;
    folder.write("file", std::string(3 << 20, 'x'));
    const VolumeBuilder fixed(folder, {.volumeName = "Fixed", .volumeBytes = 100 << 20});
    EXPECT_EQ(fixed.volumeBytes(), 100U << 20);
    EXPECT_THROW(
        VolumeBuilder(folder, {.volumeName = "Small", .volumeBytes = 2 << 20}), std::system_error);
    VolumeBuilder natural(folder, {.volumeName = "Natural"});
    bytes::MemoryDevice wrong(std::vector<std::byte>(natural.volumeBytes() + 4096));
    EXPECT_THROW(natural.write(wrong), std::invalid_argument);
}
