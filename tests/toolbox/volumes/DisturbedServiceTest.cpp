#include "TestVolumes.h"

#include "bytes/File.h"
#include "mounting/Mount.h"

#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using volumes::Appearance;
using volumes::AttachedImage;
using volumes::VolumeError;

/// Waits for a state that another process brings about.
template <typename Condition>
bool comes(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return condition();
}

/// To the process that has the image open.
void signalServerOf(const fs::path& image, int signal)
{
    for (const auto& process : fs::directory_iterator("/proc")) {
        std::error_code gone;
        for (fs::directory_iterator open(process.path() / "fd", gone), end; !gone && open != end;
             open.increment(gone))
            if (fs::read_symlink(open->path(), gone) == image)
                ::kill(std::stoi(process.path().filename()), signal);
    }
}

VolumeError::Case refusalOf(const TestVolumes& test, const AttachedImage& image)
{
    try {
        test.attached().release(image, {});
    } catch (const VolumeError& refusal) {
        return refusal.which();
    }
    throw std::logic_error("released");
}

TEST(DisturbedService, WhoseProcessWasKilledIsTidiedAwayWithoutAChange)
{
    const TestVolumes test(Appearance::mounted);
    const fs::path path = test.makeImage("a.dmg");
    const std::string before = readFile(path);
    ATTACH_OR_SKIP(image, test, path);
    writeFile(image.folder / "new", "lost");
    signalServerOf(path, SIGKILL);
    ASSERT_TRUE(comes([&] { return test.attached().list().empty(); }));
    EXPECT_FALSE(mounting::isMountedAt(image.folder));
    EXPECT_THAT(test.stateNames(), ElementsAre("lock"));
    EXPECT_TRUE(readFile(path) == before);
    EXPECT_EQ(readFile(test.attach(path).folder / "Sample.app/Contents/Info.plist"), "<plist/>");
}

TEST(DisturbedService, UnmountedBySomebodyElseIsNotTakenForAnEmptiedOne)
{
    const TestVolumes test(Appearance::mounted);
    const fs::path path = test.makeImage("a.dmg");
    const std::string before = readFile(path);
    ATTACH_OR_SKIP(image, test, path);
    mounting::unmount(image.folder, true);
    ASSERT_TRUE(fs::is_empty(image.folder));
    EXPECT_EQ(refusalOf(test, image), VolumeError::Case::outOfSight);
    EXPECT_TRUE(readFile(path) == before);
    EXPECT_NE(test.attached().release(image, {.force = true}).lost, "");
    EXPECT_TRUE(readFile(path) == before);
}

TEST(DisturbedService, LeavesAloneWhatIsPutIntoItsFolderOnceItIsGone)
{
    const TestVolumes test(Appearance::mounted);
    const fs::path path = test.makeImage("a.dmg"), own = test.folder() / "own";
    fs::create_directory(own);
    fs::create_directory_symlink(own, test.folder() / "link");
    for (const fs::path& mountPoint : {own, test.folder() / "link", fs::path()}) {
        const AttachedImage image = test.attached().attach(path, {.mountPoint = mountPoint}).image;
        if (!image.isServed)
            GTEST_SKIP() << "this host lets nobody mount";
        mounting::unmount(image.folder, true);
        writeFile(image.folder / "thesis.txt", "mine");
        EXPECT_TRUE(comes([&] { return test.attached().list().empty(); }));
        EXPECT_EQ(readFile(image.folder / "thesis.txt"), "mine");
        fs::remove(image.folder / "thesis.txt");
    }
}

TEST(DisturbedService, WhoseProcessIsStoppedHoldsUpNoOther)
{
    const TestVolumes test(Appearance::mounted);
    const fs::path stopped = test.makeImage("a.dmg"), other = test.makeImage("b.dmg", "Other");
    ATTACH_OR_SKIP(image, test, stopped);
    signalServerOf(stopped, SIGSTOP);
    const AttachedImage second = test.attach(other);
    EXPECT_EQ(test.attached().list().size(), 2U);
    EXPECT_EQ(test.attached().release(second, {}).lost, "");
    signalServerOf(stopped, SIGCONT);
    EXPECT_EQ(test.attached().release(image, {}).lost, "");
}

TEST(DisturbedService, WhatAProgramStillHasInItsMemoryIsWrittenToo)
{
    constexpr std::size_t length = 4096;
    const TestVolumes test(Appearance::mounted);
    const fs::path source = test.folder() / "source", path = test.folder() / "a.dmg";
    std::vector<fs::path> files;
    for (int number = 0; number < 200; ++number) {
        files.push_back("deep/in a folder/" + std::to_string(number));
        writeFile(source / files.back(), std::string(length, 'a'));
    }
    volumes::createImage(path, optionsFor(source));
    ATTACH_OR_SKIP(image, test, path);
    std::vector<char*> memories;
    for (const fs::path& file : files) {
        const auto open = bytes::File::open(image.folder / file, bytes::File::Mode::readWrite);
        memories.push_back(static_cast<char*>(
            ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, open.descriptor(), 0)));
        ASSERT_NE(memories.back(), MAP_FAILED);
        *memories.back() = 'b';
    }
    EXPECT_EQ(refusalOf(test, image), VolumeError::Case::busy);
    EXPECT_EQ(test.attached().release(image, {.force = true}).lost, "");
    for (char* memory : memories)
        ::munmap(memory, length);
    const AttachedImage again = test.attach(path);
    for (const fs::path& file : files)
        EXPECT_EQ(readFile(again.folder / file)[0], 'b') << file;
}

TEST(DisturbedService, ThatHoldsAnotherStaysUntilThatIsGone)
{
    const TestVolumes test(Appearance::mounted);
    const fs::path outerImage = test.makeImage("a.dmg"), innerImage = test.makeImage("b.dmg");
    ATTACH_OR_SKIP(outer, test, outerImage);
    fs::create_directory(outer.folder / "place");
    const AttachedImage inner =
        test.attached().attach(innerImage, {.mountPoint = outer.folder / "place"}).image;
    EXPECT_EQ(refusalOf(test, outer), VolumeError::Case::busy);
    EXPECT_EQ(test.attached().release(inner, {}).lost, "");
    EXPECT_EQ(test.attached().release(outer, {}).lost, "");
    EXPECT_TRUE(fs::is_empty(test.attach(outerImage).folder / "place"));
}

TEST(DisturbedService, WhoseStateIsDeletedEndsByItself)
{
    fs::path folder;
    {
        const TestVolumes test(Appearance::mounted);
        ATTACH_OR_SKIP(image, test, test.makeImage("a.dmg"));
        folder = image.folder;
        fs::remove_all(test.state().attached());
        EXPECT_TRUE(comes([&] { return !mounting::isMountedAt(folder); }));
    }
}

} // namespace
