#include "TestVolumes.h"

#include "bytes/FormatError.h"

#include <gtest/gtest.h>
#include <thread>

namespace fs = std::filesystem;
using volumes::AttachedImage;
using volumes::AttachmentRegistry;
using Stage = AttachedImage::Stage;

namespace {

AttachedImage entryAt(const TestVolumes& test, unsigned disk, Stage stage)
{
    AttachedImage image;
    image.disk = disk;
    image.stage = stage;
    image.image = test.folder() / ("image " + std::to_string(disk));
    writeFile(image.image, "x");
    image.identity = *volumes::FileIdentity::of(image.image);
    image.imageType = "read/write";
    image.sectors = 123;
    image.writable = true;
    image.content = "GUID_partition_scheme";
    image.slices = {{1, "Apple_HFS", "48465300-0000-11AA-AA11-00306543ECAC", 20480, 4096}};
    image.volume = image.slices[0];
    image.volumeName = "Zoë's \"Disk\" " + std::to_string(disk);
    image.mountPoint = "/Volumes/" + image.volumeName;
    image.folder = test.state().volumes() / image.volumeName;
    image.attachedAt = 1'700'000'000;
    fs::create_directories(image.folder);
    return image;
}

} // namespace

TEST(AttachedImage, ComesBackAsItWasWritten)
{
    const TestVolumes test;
    const AttachedImage image = entryAt(test, 4, Stage::mounted);
    const std::string text = writeAttachedImage(image);
    EXPECT_EQ(volumes::readAttachedImage(text), image);
    for (std::size_t length = 0; length < text.size(); ++length)
        EXPECT_THROW(volumes::readAttachedImage(text.substr(0, length)), bytes::FormatError);
}

TEST(AttachmentRegistry, FindsTheLowestFreeNumber)
{
    const TestVolumes test;
    const AttachmentRegistry registry(test.state());
    EXPECT_EQ(registry.freeDisk(), 4U);
    for (const unsigned disk : {4U, 5U, 7U})
        registry.save(entryAt(test, disk, Stage::mounted));
    EXPECT_EQ(registry.freeDisk(), 6U);
    EXPECT_EQ(registry.list().size(), 3U);
}

TEST(AttachmentRegistry, SweepsWhatNoToolWillFinish)
{
    struct Row {
        const char* what;
        Stage stage;
        bool ownerLives, folderGone, imageGone;
        bool swept;
    };
    const Row rows[] = {
        {"a mounted volume stays", Stage::mounted, false, false, false, false},
        {"a mounted volume whose folder is gone", Stage::mounted, false, true, false, true},
        {"a mounted volume outlives its image", Stage::mounted, false, false, true, false},
        {"an attach that was killed", Stage::preparing, false, false, false, true},
        {"an attach that goes on", Stage::preparing, true, false, false, false},
        {"a detach that was killed", Stage::discarding, false, false, false, true},
        {"a detach that goes on", Stage::discarding, true, false, false, false},
        {"an unmounted image stays", Stage::unmounted, false, true, false, false},
        {"an unmounted image that is gone", Stage::unmounted, false, true, true, true},
    };
    for (const Row& row : rows) {
        const TestVolumes test;
        const AttachmentRegistry registry(test.state());
        const AttachedImage image = entryAt(test, 4, row.stage);
        registry.save(image);
        if (row.folderGone)
            fs::remove_all(image.folder);
        if (row.imageGone)
            fs::remove(image.image);
        std::optional<volumes::FileLock> owner;
        if (row.ownerLives)
            owner = registry.lockDisk(4);
        EXPECT_EQ(registry.sweep().size(), row.swept ? 1U : 0U) << row.what;
        EXPECT_EQ(registry.list().empty(), row.swept) << row.what;
        EXPECT_EQ(fs::exists(image.folder), !row.swept && !row.folderGone) << row.what;
    }
}

TEST(AttachmentRegistry, ADamagedEntryDisturbsNobody)
{
    const TestVolumes test;
    const AttachmentRegistry registry(test.state());
    registry.save(entryAt(test, 5, Stage::mounted));
    writeFile(test.state().attached() / "disk4.json", "{\"disk\": 4,");
    writeFile(test.state().attached() / "disk99999999999.json", "{}");
    EXPECT_EQ(registry.list().size(), 1U);
    writeFile(test.state().attached() / "disk6.json",
        R"({"disk": 6, "ownsFolder": true, "folder": "/tmp/.."})");
    writeFile(test.state().attached() / ".vandor-Ab12Cd", "half an entry");
    {
        const auto owner = registry.lockDisk(5);
        EXPECT_EQ(registry.sweep().size(), 2U);
        EXPECT_TRUE(fs::exists(test.state().attached() / ".vandor-Ab12Cd")) << "may be at work";
    }
    EXPECT_EQ(registry.sweep().size(), 0U);
    EXPECT_FALSE(fs::exists(test.state().attached() / ".vandor-Ab12Cd"));
    EXPECT_EQ(registry.freeDisk(), 4U);
}

TEST(FileLock, IsHeldByOneAtATime)
{
    const TestVolumes test;
    const fs::path path = test.folder() / "lock";
    int counter = 0;
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 200; ++round) {
                const auto held = volumes::FileLock::wait(path);
                const int before = counter;
                std::this_thread::yield();
                counter = before + 1;
                if (round % 50 == 0)
                    fs::remove(path); // as a registry does with an entry's lock
            }
        });
    }
    threads.clear();
    EXPECT_EQ(counter, 800);
    const auto held = volumes::FileLock::wait(path);
    EXPECT_FALSE(volumes::FileLock::tryNow(path));
}
