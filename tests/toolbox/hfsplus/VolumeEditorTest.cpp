#include "CatalogPatch.h"
#include "SampleVolume.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "hfsplus/SourceError.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>

using namespace hfsplus;
namespace fs = std::filesystem;

namespace {

/// Lays the volume out anew and expects the same as in `folder`: names, kinds, bytes, modes,
/// metadata.
void expectSameFolder(const bytes::ByteSource& volume, const fs::path& folder)
{
    const TemporaryFolder again;
    VolumeExtractor(Volume(volume), again.path()).extract();
    const auto count = [](const fs::path& path) {
        return std::distance(
            fs::recursive_directory_iterator(path), fs::recursive_directory_iterator());
    };
    EXPECT_EQ(count(again.path()), count(folder));
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const fs::path copy = again.path() / entry.path().lexically_relative(folder);
        ASSERT_EQ(fs::symlink_status(copy), fs::symlink_status(entry.path())) << copy;
        if (entry.is_symlink()) {
            EXPECT_EQ(fs::read_symlink(copy), fs::read_symlink(entry.path()));
        } else if (entry.is_regular_file()) {
            EXPECT_TRUE(contentOf(copy) == contentOf(entry.path())) << copy;
        }
        EXPECT_TRUE(macfile::readMetadata(copy) == macfile::readMetadata(entry.path())) << copy;
    }
}

/// Removes a file with the metadata that the host keeps beside it.
void removeFile(const fs::path& path)
{
    macfile::removeCompanion(path);
    fs::remove(path);
}

/// What an independent reader gets out of the volume.
void expectSevenZipAgrees(const bytes::MemoryDevice& volume, const fs::path& folder)
{
    const Volume reader(volume);
    const TemporaryFolder place;
    const std::string image = (place.path() / "volume.img").string();
    bytes::File::open(image, bytes::File::Mode::create).writeAt(0, volume.bytes());
    const std::string command =
        "cd '" + place.path().string() + "' && 7zz x -y volume.img > log 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << contentOf(place.path() / "log");
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const fs::path name = entry.path().lexically_relative(folder);
        // It shows no content of hard links, knows no companions, and writes ':' otherwise.
        const bool plain = entry.is_regular_file() && !entry.is_symlink()
            && !name.filename().string().starts_with("._")
            && name.string().find(':') == std::string::npos
            && !reader.find(name.string())->isHardLink();
        EXPECT_TRUE(!plain || contentOf(place.path() / "Sample" / name) == contentOf(entry.path()))
            << name;
    }
}

} // namespace

TEST(VolumeEditor, AnUntouchedFolderChangesNoByte)
{
    LaidOut out(SampleVolume::make());
    const auto before = out.device().bytes();
    EXPECT_FALSE(out.apply().wroteAnything());
    EXPECT_TRUE(out.device().bytes() == before);
}

TEST(VolumeEditor, ChangesComeBackAndTheVolumeStaysSound)
{
    const struct {
        const char* name;
        std::function<void(const LaidOut&)> change;
        uint32_t added, changed, removed; // at least
    } rows[] = {
        {"a new file", [](auto& o) { o.folder().write("new", std::string(20'000, 'n')); }, 1, 0, 0},
        {"a new folder with files",
            [](auto& o) {
                o.folder().write("deep/er/one", "1");
                o.folder().write("deep/er/two", "2");
            },
            4, 0, 0},
        {"a new link", [](auto& o) { fs::create_symlink("nowhere", o.at("App.app/link")); }, 1, 0,
            0},
        {"a longer file",
            [](auto& o) {
                o.folder().write("App.app/Contents/MacOS/tool", std::string(400'000, 'x'));
            },
            0, 1, 0},
        {"other bytes of the same number",
            [](auto& o) { o.folder().write("caf\u00E9:1", std::string(46, 'y')); }, 0, 1, 0},
        {"an emptied file", [](auto& o) { fs::resize_file(o.at("caf\u00E9:1"), 0); }, 0, 1, 0},
        {"a removed file", [](auto& o) { removeFile(o.at("nothing")); }, 0, 0, 1},
        {"a removed tree", [](auto& o) { fs::remove_all(o.at("App.app")); }, 0, 0, 5},
        {"a renamed folder", [](auto& o) { fs::rename(o.at("App.app"), o.at("Other.app")); }, 5, 0,
            5},
        {"another case",
            [](auto& o) {
                const auto metadata = macfile::readMetadata(o.at("nothing"));
                removeFile(o.at("nothing"));
                macfile::writeMetadata(o.folder().write("NOTHING", ""), metadata);
            },
            1, 0, 1},
        {"a folder instead of a file",
            [](auto& o) {
                removeFile(o.at("nothing"));
                o.folder().write("nothing/inside", "in");
            },
            2, 0, 1},
        {"a file instead of a folder",
            [](auto& o) {
                fs::remove_all(o.at("App.app"));
                o.folder().write("App.app", "flat");
            },
            1, 0, 5},
        {"another target",
            [](auto& o) {
                fs::remove(o.at("alias"));
                fs::create_symlink("empty", o.at("alias"));
            },
            0, 1, 0},
        {"another mode", [](auto& o) { ::chmod(o.at("empty").c_str(), 0700); }, 0, 1, 0},
        {"one of two hard links", [](auto& o) { fs::remove(o.at("linked.plist")); }, 0, 0, 1},
        {"both hard links",
            [](auto& o) {
                fs::remove(o.at("linked.plist"));
                fs::remove(o.at("App.app/Contents/Info.plist"));
            },
            0, 0, 2},
        {"a hard link written through",
            [](auto& o) { o.folder().write("linked.plist", "both names"); }, 0, 1, 0},
        {"a hard link replaced",
            [](auto& o) {
                fs::remove(o.at("linked.plist"));
                o.folder().write("linked.plist", "only this");
            },
            1, 0, 1},
        {"metadata taken away", [](auto& o) { macfile::writeMetadata(o.at("nothing"), {}); }, 0, 1,
            0},
        {"metadata on a file, a folder and the root",
            [](auto& o) {
                auto metadata = SampleVolume::sampleMetadata();
                macfile::writeMetadata(o.at("caf\u00E9:1"), metadata);
                metadata.resourceFork.clear();
                macfile::writeMetadata(o.at("empty"), metadata);
                macfile::writeMetadata(o.folder().path(), metadata);
            },
            0, 3, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        LaidOut out(SampleVolume::make());
        row.change(out);
        const EditReport report = out.apply();
        EXPECT_GE(report.added, row.added);
        EXPECT_GE(report.changed, row.changed);
        EXPECT_GE(report.removed, row.removed);
        EXPECT_EQ(findingsOf(out.device()), "");
        expectSameFolder(out.device(), out.folder().path());
        expectSevenZipAgrees(out.device(), out.folder().path());
    }
}

TEST(VolumeEditor, TheRootsFinderFlagsAreStored)
{
    LaidOut out(SampleVolume::make());
    macfile::Metadata metadata;
    metadata.setFinderFlags(0x0400, true);
    macfile::writeMetadata(out.folder().path(), metadata);
    out.apply();
    const Volume volume(out.device());
    EXPECT_EQ(volume.metadata(volume.root()).finder().flags, 0x0400);
    EXPECT_EQ(findingsOf(out.device()), "");
}

TEST(VolumeEditor, ChangedFilesKeepTheirIDsAndOthersTheirBlocks)
{
    LaidOut out(SampleVolume::make());
    const Volume before(out.device());
    const CatalogID id = before.find("caf\u00E9:1")->id;
    const ForkData tool = before.find("App.app/Contents/MacOS/tool")->dataFork;
    out.folder().write("caf\u00E9:1", std::string(10'000, 'c'));
    out.folder().write("new", "n");
    ::utimensat(AT_FDCWD, out.at("App.app/Contents/MacOS/tool").c_str(), nullptr, 0);
    const EditReport report = out.apply();
    const Volume after(out.device());
    EXPECT_EQ(after.find("caf\u00E9:1")->id, id);
    EXPECT_EQ(after.find("App.app/Contents/MacOS/tool")->dataFork, tool);
    EXPECT_LT(report.bytesWritten, 100'000U); // not the 150,000 bytes of the tool
}

TEST(VolumeEditor, BlocksThatBecomeFreeAreZeroed)
{
    LaidOut out(SampleVolume::make());
    const ForkData fork = Volume(out.device()).find("App.app/Contents/MacOS/tool")->dataFork;
    fs::remove(out.at("App.app/Contents/MacOS/tool"));
    out.apply();
    const auto blocks = out.device().read(
        uint64_t{fork.extents[0].startBlock} * 4096, fork.extents[0].blockCount * 4096U);
    EXPECT_TRUE(blocks == std::vector<std::byte>(blocks.size()));
}

TEST(VolumeEditor, AFullVolumeStaysAsItWas)
{
    LaidOut out(SampleVolume::make());
    const auto before = out.device().bytes();
    out.folder().write("small", "fits");
    out.folder().write("huge", std::string(3 << 20, 'h'));
    try {
        out.apply();
        FAIL() << "three megabytes fit into one";
    } catch (const NoSpaceOnVolume& error) {
        EXPECT_GE(error.neededBytes(), 3U << 20);
        EXPECT_LT(error.freeBytes(), 3U << 20);
    }
    EXPECT_TRUE(out.device().bytes() == before);
}

TEST(VolumeEditor, TheLastBlocksCanBeUsed)
{
    LaidOut out(SampleVolume::make());
    const uint64_t free = uint64_t{Volume(out.device()).header().freeBlocks} * 4096;
    out.folder().write("exact", std::string(free, 'e'));
    out.apply();
    EXPECT_EQ(Volume(out.device()).header().freeBlocks, 0U);
    EXPECT_EQ(findingsOf(out.device()), "");
    // With nothing left, what is removed makes room for what comes.
    LaidOut again(bytes::MemoryDevice(out.device().bytes()));
    fs::remove(again.at("exact"));
    again.folder().write("other", std::string(free, 'o'));
    again.apply();
    EXPECT_EQ(findingsOf(again.device()), "");
    expectSameFolder(again.device(), again.folder().path());
}

TEST(VolumeEditor, NamesThatOnlyTheHostTellsApartAreRefused)
{
    LaidOut out(SampleVolume::make());
    const auto before = out.device().bytes();
    out.folder().write("NOTHING", "differs by case");
    EXPECT_THROW(out.apply(), bytes::FormatError);
    EXPECT_TRUE(out.device().bytes() == before);
}

TEST(VolumeEditor, APipeIsRefusedAndTheVolumeStaysAsItWas)
{
    LaidOut out(SampleVolume::make());
    const auto before = out.device().bytes();
    ASSERT_EQ(::mkfifo(out.at("pipe").c_str(), 0600), 0);
    EXPECT_THROW(out.apply(), SourceError);
    EXPECT_TRUE(out.device().bytes() == before);
}

TEST(VolumeEditor, FragmentedForksUseTheExtentsTree)
{
    const TemporaryFolder folder;
    for (int i = 0; i < 120; ++i)
        folder.write("file" + std::to_string(1000 + i), std::string(4096, 'f'));
    LaidOut out(SampleVolume::build(folder, 0));
    for (int i = 0; i < 120; i += 2)
        fs::remove(out.at("file" + std::to_string(1000 + i)));
    out.apply();
    EXPECT_EQ(findingsOf(out.device()), "");

    LaidOut holes(bytes::MemoryDevice(out.device().bytes()));
    const uint64_t free = uint64_t{Volume(holes.device()).header().freeBlocks} * 4096;
    std::string content(free, 'g');
    for (std::size_t i = 0; i < content.size(); i += 4096)
        content[i] = static_cast<char>(i / 4096);
    holes.folder().write("spread", content);
    holes.apply();
    EXPECT_EQ(findingsOf(holes.device()), "");
    const Volume volume(holes.device());
    EXPECT_GT(volume.dataFork(*volume.find("spread")).runs().size(), 50U);
    expectSameFolder(holes.device(), holes.folder().path());
    expectSevenZipAgrees(holes.device(), holes.folder().path());

    LaidOut gone(bytes::MemoryDevice(holes.device().bytes()));
    fs::remove(gone.at("spread"));
    gone.apply();
    EXPECT_EQ(findingsOf(gone.device()), "");
    EXPECT_TRUE(Volume(gone.device()).overflow().empty());
}

TEST(VolumeEditor, BlockSizesOtherThanTheUsualWork)
{
    for (const uint32_t blockSize : {512U, 1024U, 8192U}) {
        SCOPED_TRACE(blockSize);
        const TemporaryFolder folder;
        SampleVolume::fill(folder);
        LaidOut out(SampleVolume::build(folder, SampleVolume::slackBytes, blockSize));
        out.folder().write("new", std::string(20'000, 'n'));
        fs::remove(out.at("linked.plist"));
        macfile::writeMetadata(out.at("new"), SampleVolume::sampleMetadata());
        out.apply();
        EXPECT_EQ(findingsOf(out.device()), "");
        expectSameFolder(out.device(), out.folder().path());
    }
}

TEST(VolumeEditor, FolderCountsOfHFSXStayRight)
{
    // The sample as HFSX: another signature, and each folder counts its folders.
    auto device = SampleVolume::make();
    const Catalog catalog = Volume(device).catalog();
    for (const Catalog::Item& item : catalog.items()) {
        if (!item.folder)
            continue;
        const auto folders = std::ranges::count_if(
            catalog.children(item.id), [](const Catalog::Item& child) { return child.folder; });
        patchRecord<CatalogFolder>(
            device, recordOf(device, catalog.name(item), folderRecord), [&](CatalogFolder& record) {
                record.flags = static_cast<uint16_t>(record.flags | recordHasFolderCount);
                record.folderCount = static_cast<uint32_t>(folders);
            });
    }
    patchHeader(device, [](VolumeHeader& header) {
        header.signature = signatureHFSX;
        header.version = versionHFSX;
    });
    ASSERT_EQ(findingsOf(device), "");
    LaidOut out(std::move(device));
    out.folder().write("one/two/three", "3");
    fs::remove(out.at("empty"));
    out.apply();
    EXPECT_EQ(findingsOf(out.device()), "");
    expectSameFolder(out.device(), out.folder().path());
}

TEST(VolumeEditor, ThousandsOfFilesComeAndGo)
{
    const TemporaryFolder folder;
    folder.write("first", "1");
    LaidOut out(SampleVolume::build(folder, 24 << 20));
    for (int i = 0; i < 4'000; ++i)
        out.folder().write(
            "many/" + std::to_string(i % 40) + "/file " + std::to_string(i), std::to_string(i));
    EXPECT_EQ(out.apply().added, 4'041U);
    EXPECT_EQ(findingsOf(out.device()), "");

    LaidOut again(bytes::MemoryDevice(out.device().bytes()));
    EXPECT_EQ(again.report().files, 4'001U);
    EXPECT_EQ(contentOf(again.at("many/7/file 2207")), "2207");
    for (int i = 0; i < 20; ++i)
        fs::remove_all(again.at("many/" + std::to_string(i)));
    EXPECT_EQ(again.apply().removed, 2'020U);
    EXPECT_EQ(findingsOf(again.device()), "");
    EXPECT_EQ(Volume(again.device()).header().fileCount, 2'001U);
}

TEST(VolumeEditor, TheForkOfAFileWithTwoNamesSurvives)
{
    // Too large for an attribute of any host, so that it lies beside one of the names: first
    // beside the later one, then beside the one that the catalog has first and the host last.
    macfile::Metadata metadata;
    metadata.resourceFork.assign(100'000, std::byte{5});
    const TemporaryFolder source;
    source.write("a", "shared");
    std::filesystem::create_hard_link(source.path() / "a", source.path() / "B");
    macfile::writeMetadata(source.path() / "B", metadata);
    LaidOut out(SampleVolume::build(source));
    ASSERT_TRUE(Volume(out.device()).metadata(*Volume(out.device()).find("a")) == metadata);

    ::chmod(out.at("B").c_str(), 0600);
    EXPECT_GT(out.apply().changed, 0U);
    EXPECT_EQ(findingsOf(out.device()), "");
    const Volume volume(out.device());
    EXPECT_EQ(volume.find("a")->permissions.fileMode, 0100600);
    EXPECT_TRUE(volume.metadata(*volume.find("B")) == metadata);
}
