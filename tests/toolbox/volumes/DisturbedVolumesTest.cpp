#include "TestVolumes.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <system_error>

/// What people do to images and folders behind the tools' back.

namespace fs = std::filesystem;
using volumes::AttachedImage;

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
