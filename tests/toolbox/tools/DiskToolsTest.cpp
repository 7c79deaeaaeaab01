#include "ToolRun.h"

#include "macfile/Metadata.h"
#include "tools/Diskutil.h"
#include "tools/FsckHfs.h"
#include "tools/Hdiutil.h"
#include "tools/SetFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;
using tools::diskutil;
using tools::hdiutil;

TEST(FsckHfs, LooksAtImagesAndBareVolumesThatNobodyWritesTo)
{
    const ToolTest test;
    const std::string image = test.image("a.dmg");
    const std::string sound = "** Checking HFS Plus volume.\n   The volume name is Disk\n"
                              "** The volume Disk appears to be OK.\n";
    EXPECT_EQ(run(tools::fsckHfs, {"-n", image}).out, sound);
    const std::string raw = readFile(image);
    constexpr std::size_t volumeStart = 20480;
    writeFile(test.path("bare"), raw.substr(volumeStart, raw.size() - volumeStart - 33 * 512));
    EXPECT_EQ(run(tools::fsckHfs, {test.path("bare")}).out, sound);
    run(hdiutil, {"attach", "-readonly", image});
    EXPECT_EQ(run(tools::fsckHfs, {"disk4s1"}).out, sound);
    run(hdiutil, {"detach", "disk4"});
    run(hdiutil, {"attach", image});
    EXPECT_EQ(
        run(tools::fsckHfs, {"/Volumes/Disk"}).err, "fsck_hfs: Resource temporarily unavailable\n");
    writeFile(test.path("text"), "no image");
    EXPECT_EQ(run(tools::fsckHfs, {test.path("text")}).err, "fsck_hfs: image not recognized\n");
    EXPECT_THAT(run(tools::fsckHfs, {"-y", image}).err, HasSubstr("repairs none"));
}

TEST(Diskutil, SaysWhatAMacSays)
{
    const ToolTest test;
    const std::string image = test.image("a.dmg", "My App");
    const auto attach = [&] { run(hdiutil, {"attach", image}); };
    struct Row {
        const char* what;
        std::vector<std::string> arguments;
        std::string out;
    };
    const Row rows[] = {
        {"unmount", {"unmount", "/Volumes/My App"}, "Volume My App on disk4s1 unmounted\n"},
        {"unmount by force", {"unmount", "force", "/Volumes/My App"},
            "Volume My App on disk4s1 force-unmounted\n"},
        {"the whole disk", {"unmountDisk", "force", "disk4"},
            "Forced unmount of all volumes on disk4 was successful\n"},
        {"eject by mount point", {"eject", "/Volumes/My App"}, "Disk /Volumes/My App ejected\n"},
        {"eject by device", {"eject", "disk4"}, "Disk disk4 ejected\n"},
        {"quietly", {"quiet", "eject", "/Volumes/My App"}, ""},
    };
    for (const Row& row : rows) {
        attach();
        const Outcome outcome = run(diskutil, row.arguments);
        EXPECT_EQ(outcome.status, 0) << row.what << outcome.err;
        EXPECT_EQ(outcome.out, row.out) << row.what;
        EXPECT_FALSE(fs::exists(test.volume("My App"))) << row.what;
    }
    const Outcome missing = run(diskutil, {"unmount", "force", "/Volumes/My App"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "Unable to find disk for /Volumes/My App\n");
    EXPECT_THAT(run(diskutil, {"frob", "disk4"}).err, StartsWith("Usage: diskutil"));
    attach();
    EXPECT_THAT(run(diskutil, {"info", "/Volumes/My App"}).out,
        StartsWith("   Device Identifier:        disk4s1\n"));
}

TEST(Diskutil, TakesALeftoverOfAKilledToolAway)
{
    const ToolTest test;
    run(hdiutil, {"attach", test.image("a.dmg")});
    const fs::path entry = test.folder() / "state/attached/disk4.json";
    std::string text = readFile(entry);
    text.replace(text.find("\"mounted\""), 9, "\"preparing\"");
    writeFile(entry, text);
    EXPECT_EQ(run(diskutil, {"unmount", "force", "/Volumes/Disk"}).status, 0);
    EXPECT_FALSE(fs::exists(test.volume("Disk")));
}

TEST(SetFile, ChangesTheAskedBitsOfFilesAndVolumes)
{
    const ToolTest test;
    run(hdiutil, {"attach", test.image("a.dmg")});
    const fs::path root = test.volume("Disk");
    const std::string file = "/Volumes/Disk/.background/picture.png";
    const auto flags = [&](const fs::path& path) {
        return macfile::readMetadata(path).finder().flags.value();
    };
    EXPECT_EQ(run(tools::setFile, {"-a", "C", "/Volumes/Disk"}).status, 0);
    EXPECT_EQ(run(tools::setFile, {"-a", "VE", "-t", "icnC", "-c", "ab", file}).status, 0);
    EXPECT_EQ(flags(root), 0x0400);
    const auto info = macfile::readMetadata(root / ".background/picture.png").finder();
    EXPECT_EQ(info.flags, 0x4010);
    EXPECT_EQ(info.type, 0x69636E43U);
    EXPECT_EQ(info.creator, 0x61622020U);
    EXPECT_EQ(run(tools::setFile, {"-a", "cv", "/Volumes/Disk", file}).status, 0);
    EXPECT_EQ(flags(root), 0);
    EXPECT_EQ(flags(root / ".background/picture.png"), 0x0010);

    const Outcome missing = run(tools::setFile, {"-a", "C", "/Volumes/none"});
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(missing.err, "ERROR: File Not Found. (-43)  on file: /Volumes/none \n");
    EXPECT_EQ(run(tools::setFile, {"-a", "L", file}).status, 1);
    EXPECT_EQ(run(tools::setFile, {"-a", "C"}).status, 1);
}
