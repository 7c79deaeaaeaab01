#include "ScriptBench.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace fs = std::filesystem;
using namespace applescript;

namespace {

const std::string opened = "open disk \"Demo\"\nset w to container window of disk \"Demo\"\n";

ScriptRun askOpened(const std::string& lines, DemoVolume& volume)
{
    return tellFinder(opened + lines, {volume.mounted()});
}

} // namespace

TEST(Finder, Answers)
{
    struct Row {
        const char* title;
        const char* lines;
        const char* result;
    };
    const Row rows[] = {
        {"a window is named by its id", "w", "Finder window id 1"},
        {"a disk by its own spelling", "disk \"dEMO\"", "disk \"Demo\""},
        {"disks by index", "{disk 1, disk 1 = disk \"demo\"}", "{disk \"Demo\", true}"},
        {"an application", "item \"DEMO.app\" of disk 1",
            "application file \"Demo.app\" of disk \"Demo\""},
        {"an item of a window", "item \"Applications\" of w",
            "alias file \"Applications\" of disk \"Demo\""},
        {"deeper", "file \"bg.png\" of folder \".background\" of disk 1",
            "file \"bg.png\" of folder \".background\" of disk \"Demo\""},
        {"a path as an object", "name of ((POSIX file \"/Volumes/Demo/Demo.app\") as alias)",
            "\"Demo.app\""},
        {"an object as a path", "disk 1 as alias", "alias \"Macintosh HD:Volumes:Demo\""},
        {"a path in colons", "{\"Demo:Demo.app\" as alias, \"Macintosh HD:Volumes:Demo\" as alias}",
            "{alias \"Macintosh HD:Volumes:Demo:Demo.app\", alias \"Macintosh HD:Volumes:Demo\"}"},
        {"containers", "{container of item 1 of disk 1, container of disk 1}",
            "{disk \"Demo\", computer container}"},
        {"a new window",
            "tell w\n{current view, toolbar visible, statusbar visible, sidebar width, name}\nend",
            "{icon view, true, false, 0, \"Demo\"}"},
        {"new view options",
            "tell icon view options of w\n{icon size, text size, arrangement, label position, "
            "shows item info, shows icon preview, background picture}\nend",
            "{64, 12, not arranged, bottom, false, true, missing value}"},
        {"the target moves and comes back",
            "set t to target of w\nset target of w to container of t\nset there to target of "
            "w\nset target of w to t\n"
            "{there, target of w}",
            "{computer container, disk \"Demo\"}"},
        {"what was set is answered", "set bounds of w to {1, 2, 30.4, 40}\nbounds of w",
            "{1, 2, 30, 40}"},
        {"an item without a place", "position of item \"Demo.app\" of disk 1", "{-1, -1}"},
        {"an item with one",
            "set position of item \"Demo.app\" of w to {-5, 6}\nposition of item 2 of disk 1",
            "{-5, 6}"},
        {"a tell inside a tell", "tell w\nset current view to list view\ncurrent view\nend",
            "list view"},
        {"existence",
            "{exists w, exists disk \"X\", exists item \"no\" of w, exists container window of "
            "disk \"X\"}",
            "{true, false, false, false}"},
        {"a closed window is gone", "close w\n{exists w, exists container window of disk 1}",
            "{false, false}"},
        {"opened again it is another", "close w\nopen disk 1\ncontainer window of disk 1",
            "Finder window id 2"},
        {"opened twice it is the same", "open disk 1\ncontainer window of disk 1",
            "Finder window id 1"},
        {"open gives nothing", "open disk 1", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        DemoVolume volume;
        const ScriptRun run = askOpened(row.lines, volume);
        EXPECT_EQ(run.message(), "");
        EXPECT_EQ(sourceForm(run.result), row.result);
    }
}

TEST(Finder, EveryPropertyReachesTheStore)
{
    DemoVolume volume;
    const ScriptRun run = askOpened(
        "tell w\nset current view to icon view\nset pathbar visible to true\n"
        "set sidebar width to 120\nend tell\ntell icon view options of w\n"
        "set arrangement to arranged by modification date\nset icon size to 64.4\n"
        "set label position to right\nset shows item info to true\n"
        "set shows icon preview to false\nset background color to {65535, 0, 0}\nend tell",
        volume);
    ASSERT_EQ(run.message(), "");
    const finder::VolumeWindowStyle style = volume.style();
    EXPECT_EQ(style.view, finder::FourCC{"icnv"});
    EXPECT_TRUE(style.window.showPathbar);
    EXPECT_TRUE(style.window.showToolbar);
    EXPECT_EQ(style.window.sidebarWidth, 120);
    EXPECT_EQ(style.icons.arrangeBy, "dateModified");
    EXPECT_EQ(style.icons.iconSize, 64);
    EXPECT_FALSE(style.icons.labelOnBottom);
    EXPECT_TRUE(style.icons.showItemInfo);
    EXPECT_FALSE(style.icons.showIconPreview);
    EXPECT_EQ(style.icons.background.kind, finder::Background::Kind::colour);
    EXPECT_EQ(style.icons.background.red, 1);
    EXPECT_EQ(style.icons.background.green, 0);
}

TEST(Finder, Errors)
{
    struct Row {
        const char* title;
        const char* lines;
        int number;
        const char* message; // after the application's name
        const char* pointedAt;
    };
    const Row rows[] = {
        {"no such disk", "get disk \"X\"", -1728, "Can’t get disk \"X\".", "disk \"X\""},
        {"a missing object of a command", "open disk \"X\"", -1728, "Can’t get disk \"X\".",
            "open"},
        {"a disk without a window", "close w\nget container window of disk \"Demo\"", -1728,
            "Can’t get container window of disk \"Demo\".", "container window of disk \"Demo\""},
        {"the place of a missing item",
            "set position of item \"A.app\" of disk \"X\" to {275, 575}", -10006,
            "Can’t set item \"A.app\" of disk \"X\" to {275, 575}.",
            "set position of item \"A.app\" of disk \"X\" to {275, 575}"},
        {"a refused value", "set toolbar visible of container window of disk \"Demo\" to 5", -10006,
            "Can’t set toolbar visible of container window of disk \"Demo\" to 5.",
            "set toolbar visible of container window of disk \"Demo\" to 5"},
        {"a refused value of a variable", "set icon size of icon view options of w to 513", -10006,
            "Can’t set icon size of icon view options of Finder window id 1 to 513.",
            "set icon size of icon view options of w to 513"},
        {"bounds without an inside", "set bounds of w to {100, 100, 100, 200}", -10006,
            "Can’t set bounds of Finder window id 1 to {100, 100, 100, 200}.",
            "set bounds of w to {100, 100, 100, 200}"},
        {"a point of three numbers", "set position of item \"Demo.app\" of w to {1, 2, 3}", -10006,
            "Can’t set position of item \"Demo.app\" of Finder window id 1 to {1, 2, 3}.",
            "set position of item \"Demo.app\" of w to {1, 2, 3}"},
        {"no place in a list",
            "set current view of w to list view\nset position of item \"Demo.app\" of disk 1 to "
            "{1, 2}",
            -10006, "Can’t set position of item \"Demo.app\" of disk 1 to {1, 2}.",
            "set position of item \"Demo.app\" of disk 1 to {1, 2}"},
        {"no place below the root",
            "set position of item \"bg.png\" of folder \".background\" of disk 1 to {1, 2}", -10006,
            "Can’t set position of item \"bg.png\" of folder \".background\" of disk 1 to {1, 2}.",
            "set position of item \"bg.png\" of folder \".background\" of disk 1 to {1, 2}"},
        {"read-only", "set name of disk 1 to \"Y\"", -10003,
            "Can’t set name of disk 1 to \"Y\". Access not allowed.",
            "set name of disk 1 to \"Y\""},
        {"a relative path", "open POSIX file \"Volumes\"", -10010,
            "Handler can’t handle objects of this class.", "open POSIX file \"Volumes\""},
        {"an index too high", "get item 5 of disk \"Demo\"", -1719,
            "Can’t get item 5 of disk \"Demo\". Invalid index.", "item 5 of disk \"Demo\""},
        {"no object", "close 5", -1708, "5 doesn’t understand the “close” message.", "close 5"},
        {"an application is not started", "open item \"Demo.app\" of disk 1", -10000,
            "AppleEvent handler failed.", "open item \"Demo.app\" of disk 1"},
        {"a name that climbs", "get item \"..\" of disk 1", -1728,
            "Can’t get item \"..\" of disk 1.", "item \"..\" of disk 1"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        DemoVolume volume;
        const ScriptRun run = askOpened(row.lines, volume);
        EXPECT_EQ(run.number(), row.number);
        EXPECT_EQ(run.message(), std::string{"Finder got an error: "} + row.message);
        ASSERT_TRUE(run.error);
        EXPECT_EQ(run.error->briefMessage(), row.message);
        EXPECT_EQ(run.error->application(), "Finder");
        EXPECT_EQ(
            run.pointedAt("tell application \"Finder\"\n" + opened + row.lines + "\nend tell"),
            row.pointedAt);
    }
}

TEST(Finder, CoercionErrorsUseRawCodes)
{
    DemoVolume volume;
    EXPECT_EQ(askOpened("(icon view options of window 1) as alias", volume).message(),
        "Can’t make «class icop» of window 1 of application \"Finder\" into type alias.");
}

TEST(Finder, LimitsOfSizesAreInclusive)
{
    struct Row {
        const char* property;
        int value;
        bool accepted;
    };
    for (const Row& row : {Row{"icon size", 15, false}, {"icon size", 16, true},
             {"icon size", 512, true}, {"icon size", 513, false}, {"text size", 9, false},
             {"text size", 10, true}, {"text size", 16, true}, {"text size", 17, false}}) {
        DemoVolume volume;
        const std::string line =
            "set " + std::string{row.property} + " of icon view options of w to ";
        EXPECT_EQ(
            askOpened(line + std::to_string(row.value), volume).number(), row.accepted ? 0 : -10006)
            << row.property << ' ' << row.value;
    }
}

TEST(Finder, AScriptThatFailsLeavesWhatWasAccepted)
{
    DemoVolume volume;
    EXPECT_EQ(
        askOpened("set toolbar visible of w to false\nerror \"stop\"", volume).message(), "stop");
    EXPECT_FALSE(volume.style().window.showToolbar);
}

TEST(Finder, LookingAloneWritesNothing)
{
    DemoVolume volume;
    EXPECT_EQ(askOpened("bounds of w\nupdate disk 1\nclose w", volume).message(), "");
    EXPECT_FALSE(volume.hasStore());
}

TEST(Finder, OfTwoDisksWithOneNameTheFirstIsMeant)
{
    DemoVolume first, second, readOnly{"Locked"};
    second.mounted().mountPoint = "/Volumes/Demo 1";
    readOnly.mounted().writable = false;
    const ScriptRun run = tellFinder(
        "open disk \"Demo\"\nset toolbar visible of container window of disk \"Demo\" to false\n"
        "open (POSIX file \"/Volumes/Demo 1\")\n"
        "set icon size of icon view options of window 1 to 32\n"
        "set position of item \"Demo.app\" of disk \"Locked\" to {1, 2}",
        {first.mounted(), second.mounted(), readOnly.mounted()});
    ASSERT_EQ(run.message(), "");
    EXPECT_FALSE(first.style().window.showToolbar);
    EXPECT_EQ(first.style().icons.iconSize, 64);
    EXPECT_EQ(second.style().icons.iconSize, 32);
    EXPECT_FALSE(readOnly.hasStore());
}

TEST(Finder, AVolumeThatCannotBeWrittenIsAHandlersFailure)
{
    DemoVolume volume;
    fs::create_directory(volume.folder() / ".DS_Store");
    EXPECT_EQ(askOpened("set toolbar visible of w to false\nupdate w", volume).message(),
        "Finder got an error: AppleEvent handler failed.");
}
