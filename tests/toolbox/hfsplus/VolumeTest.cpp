#include "SampleVolume.h"

#include "bytes/FormatError.h"

#include <gtest/gtest.h>

using namespace hfsplus;

namespace {

std::string textOf(const ForkReader& fork)
{
    const auto raw = fork.read(0, static_cast<std::size_t>(fork.size()));
    return {reinterpret_cast<const char*>(raw.data()), raw.size()};
}

} // namespace

TEST(Volume, EntriesAreFoundByPath)
{
    const auto device = SampleVolume::make();
    const Volume volume(device);
    EXPECT_EQ(volume.name(), "Sample");
    const struct {
        const char* name;
        std::string path;
        EntryKind kind;
        uint64_t size;
    } rows[] = {
        {"the root", "", EntryKind::folder, 0},
        {"a file in folders", "App.app/Contents/MacOS/tool", EntryKind::file, 150'000},
        {"another case", "app.APP/contents/macos/TOOL", EntryKind::file, 150'000},
        {"a composed name with a colon", "caf\u00E9:1", EntryKind::file, 46},
        {"a symbolic link", "alias", EntryKind::symlink, 16},
        {"a hard link", "linked.plist", EntryKind::file, 8},
    };
    for (const auto& row : rows) {
        const auto entry = volume.find(row.path);
        ASSERT_TRUE(entry) << row.name;
        EXPECT_EQ(entry->kind, row.kind) << row.name;
        EXPECT_EQ(entry->dataFork.logicalSize, row.size) << row.name;
    }
    EXPECT_FALSE(volume.find("App.app/missing"));
    EXPECT_FALSE(volume.find("nothing/below"));
}

TEST(Volume, ForksAndMetadataComeBack)
{
    const auto device = SampleVolume::make();
    const Volume volume(device);
    EXPECT_TRUE(textOf(volume.dataFork(*volume.find("App.app/Contents/MacOS/tool")))
        == SampleVolume::bigContent());
    EXPECT_EQ(volume.linkTarget(*volume.find("alias")), "App.app/Contents");
    EXPECT_TRUE(volume.metadata(*volume.find("nothing")) == SampleVolume::sampleMetadata());
    EXPECT_TRUE(volume.metadata(*volume.find("linked.plist")).empty());
}

TEST(Volume, HardLinksShareOneFileAndThePrivateFolderIsHidden)
{
    const auto device = SampleVolume::make();
    const Volume volume(device);
    const Entry one = *volume.find("linked.plist");
    const Entry two = *volume.find("App.app/Contents/Info.plist");
    EXPECT_NE(one.id, two.id);
    EXPECT_EQ(one.contentID, two.contentID);
    EXPECT_TRUE(one.isHardLink());
    EXPECT_EQ(textOf(volume.dataFork(one)), "<plist/>");
    std::size_t visited = 0;
    volume.visit([&](const std::string& path, const Entry&) {
        EXPECT_EQ(path.find("Private"), std::string::npos);
        ++visited;
    });
    EXPECT_EQ(visited, 10U);
}

TEST(Volume, ADamagedHeaderIsReplacedByItsCopyForReading)
{
    auto device = SampleVolume::make();
    EXPECT_FALSE(Volume(device).usesAlternateHeader());
    EXPECT_TRUE(canBeEdited(Volume(device)));
    device.writeAt(volumeHeaderOffset, std::vector<std::byte>(sizeof(VolumeHeader)));
    const Volume volume(device);
    EXPECT_TRUE(volume.usesAlternateHeader());
    EXPECT_FALSE(canBeEdited(volume));
    EXPECT_TRUE(volume.find("App.app/Contents/Info.plist"));
    device.writeAt(device.size() - 1024, std::vector<std::byte>(sizeof(VolumeHeader)));
    EXPECT_THROW(Volume{device}, bytes::FormatError);
}
