#include "ScriptBench.h"

#include "finder/AliasRecord.h"

#include <fstream>
#include <gtest/gtest.h>

namespace fs = std::filesystem;
using finder::Background;
using finder::IconLocation;

TEST(LayoutScript, StylesAVolumeByteForByte)
{
    DemoVolume volume;
    const ScriptRun run = runScript(layoutScript({}), {volume.mounted()});
    EXPECT_EQ(run.message(), "");
    EXPECT_TRUE(run.result.is<applescript::Nothing>());
    EXPECT_NEAR(run.seconds, 3.7, 1e-9);
    // A store that independent readers approved of.
    EXPECT_EQ(
        volume.storeDigest(), "13da17b6488453d87780aa3162c4737a516fc146f3a15027249bd817cc403a4e");
}

TEST(LayoutScript, ValuesOfTheJobReachTheStore)
{
    DemoVolume volume;
    const LayoutJob job{.right = "1060",
        .bottom = "620",
        .iconSize = "96",
        .textSize = "12",
        .background = "set background picture to none"};
    const ScriptRun run = runScript(layoutScript(job), {volume.mounted()});
    ASSERT_EQ(run.message(), "");
    EXPECT_NEAR(run.seconds, 3.7, 1e-9);
    const finder::VolumeWindowStyle style = volume.style();
    EXPECT_EQ(frameText(style.window.frame), "{{400, 460}, {660, 520}}");
    EXPECT_FALSE(style.window.showToolbar);
    EXPECT_FALSE(style.window.showStatusBar);
    EXPECT_EQ(style.icons.iconSize, 96);
    EXPECT_EQ(style.icons.textSize, 12);
    EXPECT_EQ(style.icons.arrangeBy, "none");
    EXPECT_EQ(style.icons.background.kind, Background::Kind::none);
    EXPECT_EQ(volume.position(u"Demo.app"), (IconLocation{140, 178}));
    EXPECT_EQ(volume.position(u"Applications"), (IconLocation{460, 178}));
}

TEST(LayoutScript, FailuresEndAsTheScriptProvides)
{
    struct Row {
        const char* title;
        LayoutJob job;
        std::string message;
        double seconds;
        bool windowStyled, backgroundSet, iconsPlaced;
    };
    const std::string outside = "set background picture to (POSIX file \"/etc/passwd\") as alias";
    const Row rows[] = {
        {"a missing picture costs five attempts, the rest stays",
            {.background = "set background picture to (POSIX file "
                           "\"/Volumes/Demo/.background/no.png\") as alias"},
            "", 10.0, true, false, true},
        {"a picture outside the volume is none", {.background = outside}, "", 10.0, true, false,
            true},
        {"a folder is no picture",
            {.background = "set background picture to (POSIX file \"/Volumes/Demo/.background\") "
                           "as alias"},
            "", 10.0, true, false, true},
        {"a refused text size means that no attempt reaches the background", {.textSize = "99"}, "",
            10.0, true, false, true},
        {"bounds without an inside end each attempt before its pause", {.right = "300"}, "", 7.5,
            true, false, true},
        {"a missing application also loses the place of the link", {.appItem = "Other.app"}, "",
            3.7, true, true, false},
        {"no volume of that name has a window", {.volumeName = "Other"},
            "Timeout waiting for DMG window to open.", 10.5, false, false, false},
        {"the mount point is missing", {.mountPath = "/Volumes/Other"},
            "File file Macintosh HD:Volumes:Other wasn’t found.", 0.5, false, false, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        DemoVolume volume;
        const ScriptRun run = runScript(layoutScript(row.job), {volume.mounted()});
        EXPECT_EQ(run.message(), row.message);
        EXPECT_NEAR(run.seconds, row.seconds, 1e-9);
        ASSERT_EQ(volume.hasStore(), row.windowStyled);
        if (!row.windowStyled)
            continue;
        const finder::VolumeWindowStyle style = volume.style();
        EXPECT_FALSE(style.window.showToolbar);
        EXPECT_EQ(style.icons.background.kind == Background::Kind::picture, row.backgroundSet);
        EXPECT_EQ(volume.position(u"Applications").has_value(), row.iconsPlaced);
    }
}

TEST(LayoutScript, InsertedNamesWorkOrFailWithoutRunningAnything)
{
    struct Row {
        std::string name;
        std::string message; // empty: works
        std::string pointedAt;
    };
    const Row rows[] = {
        {"My \"App\"", "Expected “)” but found identifier.", "App"},
        {"5\"", "Expected “)” but found “\"”.", "\""},
        {"5\" disk", "Expected “)” but found class name.", "disk"},
        {"C:\\Users", "Expected “\"” but found unknown token.", "U"},
        {"end\\", "Expected “)” but found “end”.", "end"},
        {"say \\\"hi\\\"", "File file Macintosh HD:Volumes:say \"hi\" wasn’t found.",
            "(POSIX file \"/Volumes/say \\\"hi\\\"\") as alias"},
        {"A \" & \"B", "File Macintosh HD:Volumes:A B wasn’t found.",
            "(POSIX file \"/Volumes/A \" & \"B\") as alias"},
        {"été ü", "", ""},
        {"日本 𝄞", "", ""},
        {"tab\tand\nline", "", ""},
        {"50% -- (* x", "", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        DemoVolume volume{row.name};
        const std::string script = layoutScript({.mountPath = "/Volumes/" + row.name,
            .volumeName = row.name,
            .background = "set background picture to none"});
        const ScriptRun run = runScript(script, {volume.mounted()});
        EXPECT_EQ(run.message(), row.message);
        EXPECT_EQ(volume.hasStore(), row.message.empty());
        EXPECT_EQ(run.error ? run.pointedAt(script) : "", row.pointedAt);
    }
}

TEST(LayoutScript, ANameInItsOwnLineAlone)
{
    struct Row {
        std::string name, message, pointedAt;
    };
    const Row rows[] = {
        {"My \"App\"", "Expected end of line but found identifier.", "App"},
        {"5\"", "Expected end of line but found “\"”.", "\""},
        {"5\" disk", "Expected end of line but found class name.", "disk"},
        {"C:\\Users", "Expected “\"” but found unknown token.", "U"},
        {"end\\", "Expected end of line but found identifier.", "Timeout"},
        {"tab\\there", "Timeout waiting for DMG window to open.",
            "error \"Timeout waiting for DMG window to open.\""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        DemoVolume volume;
        const std::string script = layoutScript({.volumeName = row.name});
        const ScriptRun run = runScript(script, {volume.mounted()});
        EXPECT_EQ(run.message(), row.message);
        EXPECT_EQ(run.pointedAt(script), row.pointedAt);
    }
}

TEST(LayoutScript, AnApplicationNameWithAQuoteRunsNothing)
{
    DemoVolume volume;
    const std::string script = layoutScript({.appItem = "It\"s.app"});
    const ScriptRun run = runScript(script, {volume.mounted()});
    EXPECT_EQ(run.message(), "Expected “to” but found identifier.");
    EXPECT_EQ(run.pointedAt(script), "s");
    EXPECT_EQ(run.seconds, 0);
    EXPECT_FALSE(volume.hasStore());
}

TEST(LayoutScript, NamesAreFoundAsTheVolumeComparesThem)
{
    DemoVolume volume;
    fs::create_directory(volume.folder() / "Cafe\u0301 A:B.app"); // decomposed, '/' on a Mac
    const LayoutJob job{.appItem = "CAFÉ a/b.APP"};
    ASSERT_EQ(runScript(layoutScript(job), {volume.mounted()}).message(), "");
    EXPECT_EQ(volume.position(u"Cafe\u0301 A/B.app"), (IconLocation{140, 178}));
}

TEST(LayoutScript, KeepsWhatTheStoreHeld)
{
    DemoVolume volume;
    ASSERT_EQ(runScript(layoutScript({}), {volume.mounted()}).message(), "");
    const LayoutJob second{
        .iconSize = "64", .background = "set background picture to none", .appItem = "Gone.app"};
    ASSERT_EQ(runScript(layoutScript(second), {volume.mounted()}).message(), "");
    const finder::VolumeWindowStyle style = volume.style();
    EXPECT_EQ(style.icons.iconSize, 64);
    EXPECT_EQ(style.icons.background.kind, Background::Kind::none);
    EXPECT_TRUE(style.icons.background.alias.empty());
    EXPECT_EQ(volume.position(u"Demo.app"), (IconLocation{140, 178}));
}

TEST(LayoutScript, ADamagedOrForeignStoreCountsAsNone)
{
    DemoVolume volume;
    std::ofstream(volume.folder() / ".DS_Store") << "no store";
    EXPECT_EQ(runScript(layoutScript({}), {volume.mounted()}).message(), "");
    EXPECT_EQ(volume.style().icons.iconSize, 128);

    fs::remove(volume.folder() / ".DS_Store");
    fs::create_symlink(volume.outside(), volume.folder() / ".DS_Store");
    EXPECT_EQ(runScript(layoutScript({}), {volume.mounted()}).message(), "");
    EXPECT_FALSE(fs::is_symlink(volume.folder() / ".DS_Store"));
    EXPECT_EQ(fs::file_size(volume.outside()), 17u);
}

TEST(LayoutScript, PicturesAreOnlyTakenFromTheVolume)
{
    struct Row {
        const char* title;
        const char* path;
        const char* aliasPath; // empty: refused
    };
    const Row rows[] = {
        {"a plain file", "/Volumes/Demo/.background/bg.png", "/.background/bg.png"},
        {"another case", "/volumes/demo/.BACKGROUND/BG.png", ""},
        {"another case below the mount point", "/Volumes/Demo/.BACKGROUND/BG.png",
            "/.background/bg.png"},
        {"a link inside is followed", "/Volumes/Demo/inside.png", "/.background/bg.png"},
        {"below a linked folder", "/Volumes/Demo/pictures/bg.png", "/.background/bg.png"},
        {"a link that leads out", "/Volumes/Demo/outside.png", ""},
        {"below a folder link that leads out", "/Volumes/Demo/up/outside.png", ""},
        {"up and down again", "/Volumes/Demo/../volume/.background/bg.png", ""},
        {"a link to itself", "/Volumes/Demo/loop", ""},
        {"another volume's name begins alike", "/Volumes/Demo2/.background/bg.png", ""},
        {"doubled slashes", "/Volumes/Demo//.background/./bg.png", "/.background/bg.png"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        DemoVolume volume;
        fs::create_symlink(".background/bg.png", volume.folder() / "inside.png");
        fs::create_symlink(".background", volume.folder() / "pictures");
        fs::create_symlink(volume.outside(), volume.folder() / "outside.png");
        fs::create_symlink("..", volume.folder() / "up");
        fs::create_symlink("loop", volume.folder() / "loop");
        const ScriptRun run = tellFinder("open (POSIX file \"/Volumes/Demo\")\n"
                                         "set background picture of icon view options of container "
                                         "window of disk \"Demo\" to POSIX file \""
                + std::string{row.path} + "\"\nclose container window of disk \"Demo\"",
            {volume.mounted()});
        const std::string aliasPath = row.aliasPath;
        ASSERT_EQ(run.number(), aliasPath.empty() ? -10006 : 0);
        if (aliasPath.empty())
            continue;
        const finder::VolumeWindowStyle style = volume.style();
        EXPECT_EQ(finder::readAlias(style.icons.background.alias).path, aliasPath);
    }
}
