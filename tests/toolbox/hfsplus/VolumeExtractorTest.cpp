#include "SampleVolume.h"

#include "CatalogPatch.h"
#include "bytes/FormatError.h"

#include <gtest/gtest.h>

using namespace hfsplus;
namespace fs = std::filesystem;

namespace {

struct stat statusOf(const fs::path& path)
{
    struct stat status { };
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
}

} // namespace

TEST(VolumeExtractor, FilesFoldersAndLinksComeOut)
{
    const LaidOut out(SampleVolume::make());
    EXPECT_TRUE(contentOf(out.at("App.app/Contents/MacOS/tool")) == SampleVolume::bigContent());
    EXPECT_EQ(statusOf(out.at("App.app/Contents/MacOS/tool")).st_mode, mode_t{S_IFREG | 0755});
    EXPECT_EQ(statusOf(out.at("nothing")).st_size, 0);
    EXPECT_EQ(fs::read_symlink(out.at("alias")), "App.app/Contents");
    EXPECT_TRUE(fs::exists(out.at("caf\u00E9:1")));
    EXPECT_EQ(statusOf(out.at("linked.plist")).st_ino,
        statusOf(out.at("App.app/Contents/Info.plist")).st_ino);
    EXPECT_TRUE(macfile::readMetadata(out.at("nothing")) == SampleVolume::sampleMetadata());
    EXPECT_EQ(out.report().files, 5U);
    EXPECT_EQ(out.report().folders, 4U);
    EXPECT_EQ(out.report().links, 1U);
    EXPECT_TRUE(out.report().skipped.empty());
    // Nothing but what the volume shows, and companions where the host needs them.
    for (const auto& entry : fs::recursive_directory_iterator(out.folder().path()))
        EXPECT_TRUE(out.report().snapshot.find(
            entry.path().lexically_relative(out.folder().path()).string()))
            << entry.path();
}

TEST(VolumeExtractor, DatesAreTheVolumesEvenOfFolders)
{
    const LaidOut out(SampleVolume::make());
    for (const char* name : {"nothing", "App.app", "alias", "App.app/Contents/Info.plist"})
        EXPECT_EQ(statusOf(out.at(name)).st_mtim.tv_sec, SampleVolume::buildTime - macEpochOffset)
            << name;
}

TEST(VolumeExtractor, SetIDBitsStayOut)
{
    auto device = SampleVolume::make();
    patchFile(device, "tool", [](CatalogFile& file) { file.permissions.fileMode = 0106755; });
    const LaidOut out(std::move(device));
    EXPECT_EQ(statusOf(out.at("App.app/Contents/MacOS/tool")).st_mode & 07777, mode_t{0755});
}

TEST(VolumeExtractor, HolesStayHoles)
{
    const TemporaryFolder folder;
    folder.write("sparse", std::string(3 << 20, '\0') + "end");
    const LaidOut out(SampleVolume::build(folder));
    EXPECT_EQ(contentOf(out.at("sparse")).size(), (3U << 20) + 3);
    EXPECT_LT(statusOf(out.at("sparse")).st_blocks * 512, 1 << 20);
}

TEST(VolumeExtractor, CompressedFilesAndDevicesAreNamedAndLeftOut)
{
    auto device = SampleVolume::make();
    patchFile(device, "tool", [](CatalogFile& file) { file.permissions.ownerFlags = 0x20; });
    patchFile(device, "nothing", [](CatalogFile& file) { file.permissions.fileMode = 0020644; });
    LaidOut out(std::move(device));
    ASSERT_EQ(out.report().skipped.size(), 2U);
    EXPECT_NE(
        out.report().skipped[0].find("App.app/Contents/MacOS/tool: compressed"), std::string::npos);
    EXPECT_FALSE(fs::exists(out.at("App.app/Contents/MacOS/tool")));
    // They are still on the volume after an edit.
    out.folder().write("new", "n");
    out.apply();
    EXPECT_TRUE(Volume(out.device()).find("App.app/Contents/MacOS/tool"));
    EXPECT_TRUE(Volume(out.device()).find("nothing"));
}

TEST(VolumeExtractor, NothingIsWrittenThroughALinkOfTheVolume)
{
    // A link and a folder of one name: what the folder holds must not land behind the link.
    const TemporaryFolder folder, outside;
    folder.write("aaaa/evil", "payload");
    fs::create_symlink(outside.path(), folder.path() / "bbbb");
    auto device = SampleVolume::build(folder);
    ASSERT_TRUE(replaceName(device, u"bbbb", u"aaaa"));
    const TemporaryFolder target;
    EXPECT_THROW(VolumeExtractor(Volume(device), target.path()).extract(), bytes::FormatError);
    EXPECT_TRUE(fs::is_empty(outside.path()));
}

TEST(VolumeExtractor, FilesThatShareBlocksAreRefused)
{
    auto device = SampleVolume::make();
    const uint32_t blocks = Volume(device).header().totalBlocks;
    patchFile(device, "tool", [&](CatalogFile& file) {
        for (ExtentDescriptor& extent : file.dataFork.extents)
            extent = {uint32_t{0}, blocks};
        file.dataFork.totalBlocks = blocks * 8;
        file.dataFork.logicalSize = uint64_t{blocks} * 8 * 4096;
    });
    const TemporaryFolder target;
    EXPECT_THROW(VolumeExtractor(Volume(device), target.path()).extract(), bytes::FormatError);
}

TEST(VolumeExtractor, AttributesThatShareBlocksAreRefused)
{
    // Each byte of the image would be written once for every file.
    auto device = SampleVolume::make();
    const auto attributes = headerOf(device).attributesFile;
    const uint64_t start = offsetOf(device, attributes);
    const auto raw = device.read(start, static_cast<std::size_t>(attributes.logicalSize));
    const std::array type{std::byte{0}, std::byte{0}, std::byte{0}, std::byte{attributeFork}};
    const auto found = std::ranges::search(raw, type);
    ASSERT_FALSE(found.empty());
    const auto at = static_cast<uint64_t>(found.begin() - raw.begin());
    patchRecord<AttributeForkRecord>(device, start + at, [&](AttributeForkRecord& record) {
        record.fork.totalBlocks = headerOf(device).totalBlocks;
        record.fork.extents[0] = {0U, headerOf(device).totalBlocks};
    });
    EXPECT_THROW(LaidOut{std::move(device)}, bytes::FormatError);
}

TEST(VolumeExtractor, NamesTooLongForTheHostAreNamedAndLeftOut)
{
    // A Mac counts 255 units, this host 255 bytes: both names become Japanese where they lie.
    const std::string file(100, 'a'), folder(100, 'b');
    const TemporaryFolder source;
    source.write("files/" + file, "content");
    source.write("folders/" + folder + "/inside/deep", "content");
    auto device = SampleVolume::build(source);
    auto raw = device.bytes();
    for (const char letter : {'a', 'b'}) {
        const std::vector<std::byte> unit{std::byte{0}, static_cast<std::byte>(letter)};
        std::vector<std::byte> name;
        for (int i = 0; i < 100; ++i)
            name.insert(name.end(), unit.begin(), unit.end());
        for (auto rest = std::ranges::search(raw, name); !rest.empty();
             rest = std::ranges::search(raw, name))
            for (std::size_t i = 0; i < rest.size(); i += 2) {
                rest[i] = std::byte{0x30};
                rest[i + 1] = static_cast<std::byte>(0x42 + 2 * (letter - 'a'));
            }
    }
    LaidOut out{bytes::MemoryDevice(std::move(raw))};
    ASSERT_EQ(findingsOf(out.device()), "");
    EXPECT_EQ(out.report().skipped.size(), 2U);
    EXPECT_TRUE(fs::is_empty(out.at("files")));
    EXPECT_TRUE(fs::is_empty(out.at("folders")));

    // What stayed behind survives a change.
    out.folder().write("files/new", "n");
    out.apply();
    EXPECT_EQ(findingsOf(out.device()), "");
    const Volume volume(out.device());
    EXPECT_EQ(volume.children(volume.find("files")->id).size(), 2U);
    EXPECT_EQ(volume.children(volume.find("folders")->id).size(), 1U);
}
