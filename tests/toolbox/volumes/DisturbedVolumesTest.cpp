#include "TestVolumes.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <system_error>

/// What people do to images and folders behind the tools' back.

namespace fs = std::filesystem;
using volumes::AttachedImage;

namespace {

/// Stands for a disk that fills up: no file can be written beyond so many bytes.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        ::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &m_before); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
};

} // namespace

TEST(DisturbedVolume, WhoseFolderWasDeletedIsAttachedAnew)
{
    const TestVolumes test;
    const fs::path path = test.makeImage("a.dmg");
    fs::remove_all(test.attach(path).folder);
    const AttachedImage again = test.attach(path);
    EXPECT_TRUE(fs::exists(again.folder / "Sample.app"));
    EXPECT_EQ(test.attached().list(), std::vector{again});
}

TEST(DisturbedVolume, WhoseImageWasRenamedIsWrittenBack)
{
    const TestVolumes test;
    const fs::path path = test.makeImage("a.dmg");
    const AttachedImage image = test.attach(path);
    writeFile(image.folder / "new", "kept");
    fs::rename(path, test.folder() / "renamed.dmg");
    fs::rename(test.makeImage("b.dmg"), path); // another file of that name is not touched
    const std::string other = readFile(path);
    EXPECT_EQ(test.attached().release(image, {}).lost, "");
    EXPECT_TRUE(readFile(path) == other);
    EXPECT_EQ(readFile(test.attach(test.folder() / "renamed.dmg").folder / "new"), "kept");
}

TEST(DisturbedVolume, WhoseImageCouldOnlyBeWrittenInPartIsFinishedLater)
{
    const TestVolumes test;
    const fs::path path = test.makeImage("a.dmg");
    const std::string before = readFile(path);
    const AttachedImage image = test.attach(path);
    for (int i = 0; i < 50; ++i)
        writeFile(image.folder / ("new " + std::to_string(i)), std::to_string(i));
    {
        const FileSizeLimit fullDisk(before.size() / 2);
        EXPECT_THROW(test.attached().release(image, {}), std::system_error);
        const auto still = test.attached().list();
        ASSERT_EQ(still.size(), 1U);
        EXPECT_FALSE(still[0].isMounted()) << "its folder is no longer what counts";
        EXPECT_THROW(test.attach(path), volumes::VolumeError);
        EXPECT_TRUE(test.attached().isBeingWritten(path));
        EXPECT_FALSE(volumeFaults(path).empty()) << "half written: the case is a real one";
    }
    EXPECT_TRUE(test.attached().list().empty());
    EXPECT_EQ(volumeFaults(path), std::vector<std::string>{});
    EXPECT_EQ(test.stateNames(), std::vector<std::string>{"lock"});
    EXPECT_EQ(readFile(test.attach(path).folder / "new 49"), "49");
}

TEST(DisturbedVolume, WhoseStateFolderWasCopiedLeavesTheOldOneAlone)
{
    const TestVolumes test;
    const AttachedImage image = test.attach(test.makeImage("a.dmg"));
    const fs::path copy = test.folder() / "copy";
    fs::copy(
        test.state().root(), copy, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    volumes::AttachedVolumes other{volumes::StateFolder(copy)};
    const auto found = other.find("disk4").image;
    ASSERT_TRUE(found);
    EXPECT_EQ(found->folder, copy / "Volumes/Disk");
    other.release(*found, {});
    EXPECT_TRUE(fs::exists(image.folder / "Sample.app"));
    EXPECT_FALSE(fs::exists(copy / "Volumes/Disk"));
}

TEST(DisturbedVolume, WhoseImageIsGoneLetsGoAndTellsOfChanges)
{
    for (const bool changed : {false, true}) {
        const TestVolumes test;
        const fs::path path = test.makeImage("a.dmg");
        const AttachedImage image = test.attach(path);
        if (changed)
            writeFile(image.folder / "new", "lost");
        fs::remove(path);
        EXPECT_EQ(test.attached().release(image, {}).lost.empty(), !changed);
        EXPECT_FALSE(fs::exists(image.folder));
        EXPECT_TRUE(test.attached().list().empty());
    }
}
