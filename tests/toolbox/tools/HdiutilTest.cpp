#include "ToolRun.h"

#include "bytes/Crc32.h"
#include "plist/PropertyList.h"
#include "tools/Diskutil.h"
#include "tools/FsckHfs.h"
#include "tools/Hdiutil.h"
#include "tools/SetFile.h"
#include "tools/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;
using tools::diskutil;
using tools::hdiutil;

namespace {

const std::string wholeLine = "/dev/disk4          \tGUID_partition_scheme          \t\n";
const std::string sliceLine = "/dev/disk4s1        \tApple_HFS                      \t";

} // namespace

TEST(Hdiutil, EveryFailureIsOneLineOfTheMacsForm)
{
    const ToolTest test;
    const std::string image = test.image("a.dmg");
    writeFile(test.path("text.dmg"), "no image");
    writeFile(test.path("there.dmg"), "old");
    const std::string source = test.source();
    const std::string none = test.path("none");
    struct Row {
        const char* what;
        std::vector<std::string> arguments;
        std::string line;
    };
    const Row rows[] = {
        {"create over an existing file",
            {"create", "-srcfolder", source, "-format", "UDRW", test.path("there.dmg")},
            "create failed - File exists"},
        {"create without its source",
            {"create", "-srcfolder", none, "-ov", "-format", "UDRW", test.path("x.dmg")},
            "create failed - No such file or directory"},
        {"create into a missing folder",
            {"create", "-srcfolder", source, "-ov", "-format", "UDRW", none + "/x.dmg"},
            "create failed - No such file or directory"},
        {"create of a file", {"create", "-srcfolder", image, test.path("x.dmg")},
            "create failed - Not a directory"},
        {"create in an unknown format",
            {"create", "-srcfolder", source, "-format", "UDXX", test.path("x.dmg")},
            "create failed - \"UDXX\" is not an image format"},
        {"create in a format of a later version",
            {"create", "-srcfolder", source, "-format", "UDCO", test.path("x.dmg")},
            "create failed - this version can't write UDCO images yet"},
        {"attach of nothing", {"attach", none}, "attach failed - No such file or directory"},
        {"attach of a folder", {"attach", source}, "attach failed - image not recognized"},
        {"attach over all volumes", {"attach", "-mountpoint", "/Volumes", image},
            "attach failed - Resource busy"},
        {"attach of something else", {"attach", test.path("text.dmg")},
            "attach failed - image not recognized"},
        {"detach of nothing", {"detach", "/Volumes/none"},
            "detach failed - No such file or directory"},
        {"detach of an unknown device", {"detach", "disk9"},
            "detach failed - No such file or directory"},
        {"convert of nothing", {"convert", none, "-format", "UDZO", "-o", test.path("x.dmg")},
            "convert failed - No such file or directory"},
        {"convert over an existing file",
            {"convert", image, "-format", "UDZO", "-o", test.path("there.dmg")},
            "convert failed - File exists"},
        {"convert into a missing folder",
            {"convert", image, "-format", "UDZO", "-o", none + "/x.dmg"},
            "convert failed - Invalid argument"},
        {"convert to a folder's name", {"convert", image, "-format", "UDZO", "-o", none + "/"},
            "convert failed - Is a directory"},
        {"convert to a format of a later version",
            {"convert", image, "-format", "UDCO", "-o", test.path("x.dmg")},
            "convert failed - this version can't write UDCO images yet"},
        {"verify of nothing", {"verify", none}, "verify failed - No such file or directory"},
        {"verify of a raw image", {"verify", image}, "verify failed - image has no checksum"},
        {"imageinfo of something else", {"imageinfo", test.path("text.dmg")},
            "imageinfo failed - image not recognized"},
    };
    for (const Row& row : rows) {
        const Outcome outcome = run(hdiutil, row.arguments);
        EXPECT_EQ(outcome.status, 1) << row.what;
        EXPECT_EQ(outcome.err, "hdiutil: " + row.line + "\n") << row.what;
    }
    EXPECT_EQ(readFile(test.path("there.dmg")), "old");
    for (const auto& entry : fs::directory_iterator(test.folder()))
        EXPECT_THAT(entry.path().filename().string(), Not(StartsWith(".vandor")));
}

TEST(Hdiutil, KnowsTheExtensionInAnyLetters)
{
    const ToolTest test;
    struct Row {
        std::string asked, made;
    };
    for (const Row& row : {Row{"a", "a.dmg"}, Row{"b.DMG", "b.DMG"}, Row{"c.1", "c.1.dmg"}}) {
        const Outcome convert = run(hdiutil,
            {"convert", test.image("source.dmg"), "-format", "UDRO", "-o", test.path(row.asked)});
        EXPECT_THAT(convert.out, EndsWith("created: " + test.path(row.made) + "\n"));
        EXPECT_TRUE(fs::exists(test.path(row.made))) << row.made;
    }
}

TEST(Hdiutil, AnImageMayLieInTheFolderThatItIsMadeOf)
{
    const ToolTest test;
    const fs::path inside = test.source() / "inside.dmg";
    EXPECT_EQ(
        run(hdiutil, {"create", "-srcfolder", test.source(), "-format", "UDRW", inside}).status, 0);
    fs::rename(inside, test.path("moved.dmg"));
    run(hdiutil, {"attach", test.path("moved.dmg")});
    EXPECT_EQ(treeOf(test.volume("source")), treeOf(test.source()));
}

TEST(Hdiutil, WhoeverOnlyLooksNeedsNoStateFolder)
{
    const ToolTest test;
    const std::string image = test.path("a.dmg");
    ::setenv("VANDOR_STATE", "/dev/null/state", 1);
    EXPECT_EQ(run(hdiutil, {"create", "-srcfolder", test.source(), image}).status, 0);
    EXPECT_EQ(run(hdiutil, {"convert", image, "-format", "UDRW", "-o", test.path("b")}).status, 0);
    EXPECT_EQ(run(hdiutil, {"verify", image}).status, 0);
    EXPECT_EQ(run(hdiutil, {"imageinfo", image}).status, 0);
    EXPECT_EQ(run(hdiutil, {"info"}).status, 0);
    EXPECT_EQ(run(tools::setFile, {"-a", "C", image}).status, 0);
    EXPECT_EQ(run(diskutil, {"eject", "disk4"}).err, "Unable to find disk for disk4\n");
    const Outcome attach = run(hdiutil, {"attach", "-noverify", image});
    EXPECT_EQ(attach.err,
        "hdiutil: attach failed - Not a directory (/dev/null/state, where attached volumes are "
        "kept)\n");
}

TEST(Hdiutil, AWrongCallShowsTheUsage)
{
    const ToolTest test;
    const std::vector<std::string> calls[] = {{}, {"frobnicate"}, {"attach"}, {"attach", "a", "b"},
        {"attach", "-frob", "a"}, {"create", "-fs", "APFS", "-srcfolder", "/tmp", "x"},
        {"convert", "a", "-o", "b"}, {"convert", "a", "-format", "UDZO", "-o"},
        {"convert", "a", "-format", "UDZO", "-o", "b", "-imagekey", "zlib-level=13"},
        {"create", "x"}, {"create", "-size", "12x", "x"}, {"create", "-size", "0", "x"},
        {"create", "-size", "16777216t", "x"}, {"create", "-size", "1m", "-layout", "SPUD", "x"},
        {"checksum", "x"}, {"checksum", "-type", "MD5", "x"}};
    for (const auto& call : calls) {
        const Outcome outcome = run(hdiutil, call);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, HasSubstr("Usage: hdiutil"));
        EXPECT_EQ(outcome.out, "");
    }
}

TEST(Hdiutil, AttachPrintsItsColumnsAndDetachItsDevice)
{
    const ToolTest test;
    const std::string image = test.image("a.dmg", "My App");
    const std::string table = wholeLine + sliceLine + "/Volumes/My App\n";
    const std::vector<std::string> attach{
        "attach", "-readwrite", "-noverify", "-noautoopen", image};
    EXPECT_EQ(run(hdiutil, attach).out, table);
    EXPECT_EQ(run(hdiutil, attach).out, table) << "an attached image answers alike";
    const Outcome info = run(hdiutil, {"info"});
    EXPECT_THAT(
        info.out, HasSubstr("image-path      : " + image + "\nimage-alias     : " + image + "\n"));
    EXPECT_THAT(info.out, HasSubstr("images          : 1\n" + std::string(48, '=') + "\n"));
    EXPECT_THAT(info.out, HasSubstr("image-type      : read/write\n"));
    EXPECT_THAT(info.out, HasSubstr("writeable       : TRUE\n"));
    EXPECT_THAT(info.out,
        EndsWith("/dev/disk4\tGUID_partition_scheme\t\n"
                 "/dev/disk4s1\t48465300-0000-11AA-AA11-00306543ECAC\t/Volumes/My App\n"));

    const Outcome convert =
        run(hdiutil, {"convert", image, "-format", "UDZO", "-o", test.path("b.dmg")});
    EXPECT_EQ(convert.err, "hdiutil: convert failed - Resource temporarily unavailable\n");
    EXPECT_EQ(run(hdiutil, {"imageinfo", image}).err,
        "hdiutil: imageinfo failed - Resource temporarily unavailable\n");

    const Outcome detach = run(hdiutil, {"detach", "/Volumes/My App"});
    EXPECT_EQ(detach.status, 0);
    EXPECT_EQ(detach.out, "\"disk4\" ejected.\n");
    EXPECT_THAT(run(hdiutil, {"info"}).out, EndsWith("images          : 0\n"));
    EXPECT_EQ(run(hdiutil, {"attach", "-nomount", image}).out, wholeLine + sliceLine + "\n");
    EXPECT_EQ(run(hdiutil, {"-quiet"}).status, 1);
    EXPECT_EQ(run(hdiutil, {"detach", "-quiet", "/dev/disk4s1"}).out, "");
}

TEST(Hdiutil, ProgramsGetPropertyLists)
{
    const ToolTest test;
    const std::string image = test.image("a.dmg", "My App");
    const auto listOf = [](const std::vector<std::string>& arguments) {
        const std::string out = run(hdiutil, arguments).out;
        return plist::read(std::as_bytes(std::span(out)));
    };
    const plist::Value attached = listOf({"attach", "-plist", image});
    const auto& entities = *attached.find<plist::Array>("system-entities");
    ASSERT_EQ(entities.size(), 2U);
    EXPECT_EQ(entities[0].find("mount-point"), nullptr);
    EXPECT_EQ(*entities[1].find<std::string>("dev-entry"), "/dev/disk4s1");
    EXPECT_EQ(*entities[1].find<std::string>("mount-point"), "/Volumes/My App");

    const plist::Value info = listOf({"info", "-plist"});
    const auto& images = *info.find<plist::Array>("images");
    ASSERT_EQ(images.size(), 1U);
    EXPECT_EQ(*images[0].find<std::string>("image-path"), image);
    EXPECT_EQ(*images[0].find("system-entities"), *attached.find("system-entities"));
    EXPECT_EQ(listOf({"create", "-plist", "-size", "3m", test.path("b.dmg")}),
        plist::Value(plist::Array{test.path("b.dmg")}));
}

TEST(Hdiutil, AnEmptyVolumeHasTheAskedSizeAndTakesFiles)
{
    const ToolTest test;
    const std::string image = test.path("e.dmg");
    struct Row {
        std::string layout;
        std::vector<std::string> table; // what attach answers, in part
    };
    for (const Row& row : {Row{"GPTSPUD", {wholeLine, sliceLine}}, Row{"NONE", {"/dev/disk4 "}}}) {
        const Outcome made = run(hdiutil,
            {"create", "-size", "3m", "-fs", "HFS+", "-volname", "E", "-layout", row.layout, "-ov",
                image});
        EXPECT_EQ(made.out, "created: " + image + "\n") << made.err;
        EXPECT_LE(fs::file_size(image), 3U << 20);
        EXPECT_GT(fs::file_size(image), (3U << 20) - 4096);
        for (const char* content : {"", "kept"}) {
            const Outcome attach = run(hdiutil, {"attach", image});
            for (const std::string& part : row.table)
                EXPECT_THAT(attach.out, HasSubstr(part));
            EXPECT_EQ(readFile(test.volume("E") / "file"), content) << row.layout;
            writeFile(test.volume("E") / "file", "kept");
            EXPECT_EQ(run(hdiutil, {"detach", "disk4"}).status, 0);
        }
    }
    EXPECT_EQ(run(hdiutil, {"create", "-size", "90k", test.path("small.dmg")}).err,
        "hdiutil: create failed - No space left on device\n");
    EXPECT_FALSE(fs::exists(test.path("small.dmg")));
}

TEST(Hdiutil, AMountRootGetsAFolderForEachVolume)
{
    const ToolTest test;
    const std::string root = test.path("root");
    fs::create_directory(root);
    for (const auto& [name, folder] : {std::pair{"a.dmg", "/Disk"}, {"b.dmg", "/Disk 1"}}) {
        const Outcome attach =
            run(hdiutil, {"attach", "-mountroot", root, test.image(name, "Disk")});
        EXPECT_THAT(attach.out, EndsWith('\t' + root + folder + '\n'));
        EXPECT_EQ(treeOf(root + folder), treeOf(test.source()));
    }
    EXPECT_EQ(run(hdiutil, {"detach", root + "/Disk"}).status, 0);
    EXPECT_TRUE(fs::is_empty(root + "/Disk"));
}

TEST(Hdiutil, ChecksumsAreThoseOfTheDiskWhateverTheFormat)
{
    const ToolTest test;
    const std::string raw = test.image("a.dmg"), packed = test.path("b.dmg");
    run(hdiutil, {"convert", raw, "-format", "UDBZ", "-o", packed});
    for (const std::string type : {"CRC32", "SHA256"}) {
        const Outcome ofRaw = run(hdiutil, {"checksum", "-type", type, raw});
        EXPECT_THAT(ofRaw.out, StartsWith(type + ' '));
        EXPECT_EQ(run(hdiutil, {"checksum", "-type", type, packed}).out, ofRaw.out);
    }
    const std::string disk = readFile(raw);
    EXPECT_EQ(run(hdiutil, {"checksum", "-type", "CRC32", raw}).out,
        tools::crcText(bytes::crc32(std::as_bytes(std::span(disk)))) + "\n");
}

TEST(Hdiutil, ConvertReportsTablesAndTotals)
{
    const ToolTest test;
    const Outcome convert =
        run(hdiutil, {"convert", test.image("a.dmg"), "-format", "udzo", "-o", test.path("b")});
    EXPECT_EQ(convert.status, 0) << convert.err;
    EXPECT_THAT(convert.out,
        StartsWith("Preparing imaging engine…\n"
                   "Reading Protective Master Boot Record (MBR : 0)…\n"
                   "   (CRC32 $"));
    EXPECT_THAT(convert.out, HasSubstr("Reading  (Apple_Free : 3)…\n   (CRC32 $00000000:  (Apple"));
    const std::string totals = convert.out.substr(convert.out.find("Adding resources…\n"));
    const auto size = std::to_string(fs::file_size(test.path("b.dmg")));
    EXPECT_THAT(totals,
        MatchesRegex("Adding resources…\nElapsed Time: [ 0-9m.]+s\nFile size: " + size
            + " bytes, Checksum: CRC32 \\$[0-9A-F]{8}\n"
              "Sectors processed: [0-9]+, [0-9]+ compressed\nSpeed: [0-9.]+MB/s\n"
              "Savings: 9[0-9]\\.[0-9]%\ncreated: "
            + test.path("b.dmg") + "\n"));

    const Outcome raw = run(hdiutil,
        {"convert", test.path("b.dmg"), "-format", "UDRW", "-puppetstrings", "-o",
            test.path("raw.dmg")});
    EXPECT_EQ(raw.out.find("CRC32"), std::string::npos);
    EXPECT_THAT(raw.out, HasSubstr("\nPERCENT:100.000000\n"));
    EXPECT_TRUE(readFile(test.path("raw.dmg")) == readFile(test.path("a.dmg")));
}

TEST(Hdiutil, VerifyAndAttachTellASoundImageFromADamagedOne)
{
    const ToolTest test;
    const std::string path = test.path("c.dmg");
    run(hdiutil, {"convert", test.image("a.dmg"), "-format", "UDBZ", "-o", path});
    const Outcome sound = run(hdiutil, {"verify", path});
    EXPECT_EQ(sound.status, 0);
    EXPECT_EQ(sound.err, "hdiutil: verify: checksum of \"" + path + "\" is VALID\n");
    EXPECT_THAT(sound.out,
        StartsWith("Checksumming Protective Master Boot Record (MBR : 0)…\n"
                   "Protective Master Boot Record (MBR :: verified   CRC32 $"));
    EXPECT_THAT(sound.out, HasSubstr("\n          disk image (Apple_HFS : 4): verified   CRC32 $"));
    EXPECT_THAT(sound.out, MatchesRegex("(.|\n)*\nverified   CRC32 \\$[0-9A-F]{8}\n"));
    const Outcome attached = run(hdiutil, {"attach", path});
    EXPECT_EQ(attached.out, sound.out + wholeLine + sliceLine + "/Volumes/Disk\n");
    EXPECT_EQ(run(hdiutil, {"detach", "disk4"}).status, 0);
    ::setenv("VANDOR_ATTACH", "folder", 1);
    run(hdiutil, {"attach", "-noverify", path});
    ::unsetenv("VANDOR_ATTACH");
    writeFile(test.volume("Disk") / "new", "x");
    const Outcome lost = run(hdiutil, {"detach", "disk4"});
    EXPECT_EQ(lost.status, 1);
    EXPECT_EQ(lost.err,
        "hdiutil: detach: changes on \"Disk\" are lost - the image is attached read-only\n");

    std::string bytes = readFile(path);
    bytes[bytes.size() / 10] = static_cast<char>(bytes[bytes.size() / 10] ^ 0x10);
    writeFile(path, bytes);
    const Outcome damaged = run(hdiutil, {"verify", path});
    EXPECT_EQ(damaged.status, 1);
    EXPECT_THAT(damaged.err,
        EndsWith("hdiutil: verify: checksum of \"" + path
            + "\" is INVALID\nhdiutil: verify failed - corrupt image\n"));
    const Outcome refused = run(hdiutil, {"attach", path});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, StartsWith("hdiutil: attach failed - corrupt image"));
    EXPECT_EQ(run(diskutil, {"info", "disk4"}).status, 1);
}

TEST(Hdiutil, VerifyFindsADamagedVolumeBehindGoodChecksums)
{
    const ToolTest test;
    const std::string image = test.image("a.dmg");
    std::string bytes = readFile(image);
    bytes[20480 + 1024 + 35] = 99; // the header's count of files
    writeFile(image, bytes);
    const std::string path = test.path("c.dmg");
    run(hdiutil, {"convert", image, "-format", "UDZO", "-o", path});
    const Outcome verify = run(hdiutil, {"verify", path});
    EXPECT_EQ(verify.status, 1);
    EXPECT_THAT(verify.err, EndsWith("hdiutil: verify failed - the volume is damaged\n"));
    EXPECT_THAT(verify.err, HasSubstr("is VALID"));

    const Outcome check = run(tools::fsckHfs, {"-fn", image});
    EXPECT_EQ(check.status, 8);
    EXPECT_THAT(check.out, HasSubstr("\n   invalid volume file count 99, should be 7\n"));
    EXPECT_THAT(
        check.out, EndsWith("** The volume Disk was found corrupt and needs to be repaired.\n"));
}

TEST(Hdiutil, VerifyNamesWhatIsHarmlessAndPasses)
{
    const ToolTest test;
    const std::string image = test.image("a.dmg");
    std::string bytes = readFile(image);
    bytes[20480 + 1024 + 6] = 0; // the header's mark of a clean unmount; its copy keeps it
    writeFile(image, bytes);
    const std::string path = test.path("c.dmg");
    run(hdiutil, {"convert", image, "-format", "UDZO", "-o", path});
    const Outcome verify = run(hdiutil, {"verify", path});
    EXPECT_EQ(verify.status, 0);
    EXPECT_THAT(verify.err, HasSubstr("verify: harmless: volume header: the volume was not unm"));
    EXPECT_THAT(verify.err, HasSubstr("verify: harmless: alternate volume header: differs"));
}

TEST(Hdiutil, VerifyLooksIntoTheFindersStore)
{
    const ToolTest test;
    const std::string image = test.image("a.dmg");
    run(hdiutil, {"attach", image});
    writeFile(test.volume("Disk") / ".DS_Store", "this is no store");
    run(hdiutil, {"detach", "disk4"});
    run(hdiutil, {"convert", image, "-format", "UDZO", "-o", test.path("c.dmg")});
    const Outcome verify = run(hdiutil, {"verify", test.path("c.dmg")});
    EXPECT_EQ(verify.status, 1);
    EXPECT_THAT(verify.err, HasSubstr("hdiutil: verify: .DS_Store: "));
}

TEST(Hdiutil, CreateNamesEveryFileThatCannotGoIn)
{
    const ToolTest test;
    const fs::path source = test.source();
    ASSERT_EQ(::mkfifo((source / "pipe").c_str(), 0600), 0);
    ASSERT_EQ(::mkfifo((source / "Sample.app/second").c_str(), 0600), 0);
    const Outcome create =
        run(hdiutil, {"create", "-srcfolder", source, "-format", "UDRW", test.path("a.dmg")});
    EXPECT_EQ(create.status, 1);
    EXPECT_THAT(create.err, HasSubstr((source / "pipe").string() + ": "));
    EXPECT_THAT(create.err, HasSubstr((source / "Sample.app/second").string() + ": "));
    EXPECT_THAT(
        create.err, EndsWith("hdiutil: create failed - some files can't go into a volume\n"));
    EXPECT_FALSE(fs::exists(test.path("a.dmg")));
}

TEST(Hdiutil, AFixedTimeMakesTheSameImageTwice)
{
    const ToolTest test;
    ::setenv("SOURCE_DATE_EPOCH", "1700000000", 1);
    const std::string first = readFile(test.image("a.dmg"));
    EXPECT_TRUE(first == readFile(test.image("b.dmg")));
    EXPECT_FALSE(first == readFile(test.image("c.dmg", "Other")));
    ::setenv("SOURCE_DATE_EPOCH", "yesterday", 1);
    EXPECT_EQ(run(hdiutil, {"create", "-srcfolder", test.source(), test.path("d")}).err,
        "hdiutil: create failed - Invalid argument\n");
    ::unsetenv("SOURCE_DATE_EPOCH");
    EXPECT_FALSE(first == readFile(test.image("e.dmg"))) << "identifiers are random without it";
}
