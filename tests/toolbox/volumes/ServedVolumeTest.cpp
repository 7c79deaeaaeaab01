#include "TestVolumes.h"

#include "bytes/File.h"
#include "hfsplus/VolumeRecords.h"
#include "macfile/HostAttributes.h"
#include "macfile/Metadata.h"
#include "mounting/Mount.h"
#include "udif/DiskImage.h"
#include "udif/ImageConverter.h"
#include "volumes/ImageCreator.h"

#include <algorithm>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <sstream>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using volumes::Appearance;
using volumes::AttachedImage;
using volumes::AttachOptions;

std::string hexOf(std::span<const std::byte> raw)
{
    std::string text;
    for (const std::byte each : raw)
        text += "0123456789ABCDEF"[std::to_integer<unsigned>(each) >> 4];
    return text;
}

/// All that a program can see of a file or folder, one fact a line.
std::string look(const fs::path& path)
{
    struct stat status { };
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    std::ostringstream seen;
    seen << std::oct << status.st_mode << std::dec << " of " << status.st_mtim.tv_sec << '\n';
    if (S_ISREG(status.st_mode))
        seen << status.st_nlink << " names, " << status.st_size << " bytes: " << readFile(path);
    else if (S_ISLNK(status.st_mode))
        seen << fs::read_symlink(path);
    const macfile::Metadata metadata = macfile::readMetadata(path);
    seen << "\nFinder " << hexOf(metadata.finderInfo) << "\nfork " << hexOf(metadata.resourceFork);
    for (const auto& [name, value] : metadata.attributes)
        seen << '\n' << name << ' ' << hexOf(value);
    return seen.str();
}

/// By path; companions are looked at through what they belong to.
std::map<std::string, std::string> lookAtAll(const fs::path& folder)
{
    std::map<std::string, std::string> all{{"", look(folder)}};
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        if (!macfile::isCompanion(entry.path()) && entry.path().filename() != "._.")
            all.emplace(fs::relative(entry.path(), folder), look(entry.path()));
    return all;
}

constexpr time_t moment = 1'700'000'000;
constexpr uint32_t fixedTime = moment + hfsplus::macEpochOffset + 100;

void setTime(const fs::path& path)
{
    const timespec times[] = {{moment, 0}, {moment, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

/// The same moment for all that was changed or read, so that two runs can be compared.
void settle(const fs::path& folder)
{
    std::vector<fs::path> all{folder};
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        all.push_back(entry.path());
    for (const fs::path& path : all)
        setTime(path);
}

std::vector<std::byte> bytesOf(const std::string& text)
{
    const auto view = std::as_bytes(std::span(text));
    return {view.begin(), view.end()};
}

macfile::Metadata richMetadata(std::size_t forkBytes)
{
    macfile::Metadata metadata;
    metadata.setFinderFlags(0x0400, true);
    metadata.resourceFork.assign(forkBytes, std::byte{'r'});
    metadata.attributes["com.apple.quarantine"] = bytesOf("0081;0;;");
    return metadata;
}

/// A volume with one of everything.
fs::path makeRichImage(const TestVolumes& test)
{
    const fs::path source = test.folder() / "rich.source";
    writeFile(source / "Sample.app/Contents/MacOS/Sample", std::string(300'000, 'x'));
    writeFile(source / "Sample.app/Contents/Info.plist", "<plist/>");
    writeFile(source / "Été à \"Paris\".txt", "accents");
    writeFile(source / "empty", "");
    writeFile(source / "twin one", "two names");
    fs::create_hard_link(source / "twin one", source / "twin two");
    fs::create_symlink("/Applications", source / "Applications");
    fs::create_symlink("Sample.app", source / "marked link");
    fs::create_directories(source / "folder/in folder/in folder");
    writeFile(source / "folder/in folder/file", "deep");
    writeFile(source / "folder/in folder/in folder/file", "deeper");
    macfile::writeMetadata(source / "empty", richMetadata(200));
    macfile::writeMetadata(source / "twin one", richMetadata(0));
    // More than an attribute can hold here, and where no attribute can be.
    macfile::writeMetadata(source / "Sample.app/Contents/Info.plist", richMetadata(100'000));
    macfile::writeMetadata(source / "marked link", richMetadata(0));
    fs::permissions(source / "Sample.app/Contents/MacOS/Sample", fs::perms(0755));
    settle(source);
    const fs::path image = test.folder() / "rich.dmg";
    volumes::CreateOptions options;
    options.folder = source;
    options.volumeName = "Rich";
    options.identifierSeed = 7;
    options.fixedTime = fixedTime;
    volumes::createImage(image, options);
    return image;
}

/// What programs do to a volume.
void workOn(const fs::path& volume)
{
    writeFile(volume / ".DS_Store", std::string(6148, 's'));
    writeFile(volume / ".background/picture.png", std::string(70'000, 'p'));
    std::ofstream(volume / "Sample.app/Contents/Info.plist", std::ios::app) << "more";
    writeFile(volume / "Été à \"Paris\".txt", "short");
    fs::resize_file(volume / "Sample.app/Contents/MacOS/Sample", 100'001);
    fs::rename(volume / "folder/in folder", volume / "moved");
    fs::rename(volume / "empty", volume / "folder/renamed");
    fs::remove(volume / "twin two");
    fs::remove(volume / "Applications");
    fs::create_symlink("../elsewhere", volume / "Applications");
    fs::permissions(volume / "moved/file", fs::perms(0600));
    fs::create_directories(volume / "made/and gone");
    fs::remove(volume / "made/and gone");
    macfile::Metadata metadata = macfile::readMetadata(volume);
    metadata.setFinderFlags(0x0400, true);
    macfile::writeMetadata(volume, metadata);
    macfile::writeMetadata(volume / "made", richMetadata(0));
    macfile::writeMetadata(volume / "moved/file", richMetadata(70'000));
    macfile::writeMetadata(volume / "marked link", {});
}

TEST(ServedVolume, ShowsWhatALaidOutOneShows)
{
    const TestVolumes laidOut, mounted(Appearance::mounted);
    const fs::path image = makeRichImage(laidOut);
    const AttachedImage other = laidOut.attach(image);
    ATTACH_OR_SKIP(volume, mounted, image, AttachOptions::Access::readOnly);
    EXPECT_FALSE(other.isServed);
    EXPECT_TRUE(lookAtAll(volume.folder) == lookAtAll(other.folder));
    EXPECT_EQ(fs::hard_link_count(volume.folder / "twin one"), 2U);
}

TEST(ServedVolume, BecomesTheImageThatALaidOutOneBecomes)
{
    std::vector<std::string> images;
    for (const Appearance appearance : {Appearance::laidOut, Appearance::mounted}) {
        const TestVolumes test(appearance);
        const fs::path path = makeRichImage(test);
        const AttachedImage image = test.attach(path);
        if (image.isServed != (appearance == Appearance::mounted))
            GTEST_SKIP() << "this host lets nobody mount";
        workOn(image.folder);
        settle(image.folder);
        const auto seen = lookAtAll(image.folder);
        settle(image.folder);
        test.attached().release(image, {.fixedTime = fixedTime});
        EXPECT_EQ(volumeFaults(path), std::vector<std::string>{});
        images.push_back(readFile(path));
        EXPECT_TRUE(lookAtAll(test.attach(path).folder) == seen);
    }
    EXPECT_TRUE(images[0] == images[1]);
}

TEST(ServedVolume, UntouchedLeavesTheImageAndNothingElse)
{
    const TestVolumes test(Appearance::mounted);
    const fs::path path = makeRichImage(test);
    const std::string before = readFile(path);
    ATTACH_OR_SKIP(image, test, path);
    lookAtAll(image.folder);
    EXPECT_EQ(test.attached().release(image, {}).lost, "");
    EXPECT_TRUE(readFile(path) == before);
    EXPECT_THAT(test.stateNames(), ElementsAre("lock"));
    EXPECT_FALSE(fs::exists(image.folder));
}

TEST(ServedVolume, RefusesWhatItsMacWouldRefuse)
{
    const TestVolumes test(Appearance::mounted);
    const fs::path path = test.makeImage("a.dmg");
    ATTACH_OR_SKIP(image, test, path);
    const auto failure = [&](int result) { return result == 0 ? 0 : errno; };
    const fs::path app = image.folder / "Sample.app";
    const auto below = [&](const char* name) { return (image.folder / name).string(); };
    EXPECT_EQ(failure(::rmdir(app.c_str())), ENOTEMPTY);
    EXPECT_EQ(failure(::rename(app.c_str(), (app / "Contents/inside").c_str())), EINVAL);
    EXPECT_EQ(failure(::mkdir(app.c_str(), 0700)), EEXIST);
    EXPECT_EQ(failure(::unlink(below("absent").c_str())), ENOENT);
    EXPECT_EQ(failure(::mkfifo(below("pipe").c_str(), 0600)), EPERM);
    EXPECT_EQ(failure(::link(app.c_str(), below("second app").c_str())), EPERM);
    EXPECT_EQ(failure(::mkdir(below(std::string(256, 'n').c_str()).c_str(), 0700)), ENAMETOOLONG);
    EXPECT_EQ(failure(::setxattr(app.c_str(), "user.a", "1", 1, XATTR_REPLACE)), ENODATA);
    test.attached().release(image, {});

    ATTACH_OR_SKIP(readOnly, test, path, AttachOptions::Access::readOnly);
    EXPECT_EQ(failure(::mkdir((readOnly.folder / "new").c_str(), 0700)), EROFS);
    EXPECT_EQ(test.attached().release(readOnly, {}).lost, "");
}

TEST(ServedVolume, IsFullWhenItsBlocksAre)
{
    const TestVolumes test(Appearance::mounted);
    const fs::path path = test.makeImage("a.dmg");
    ATTACH_OR_SKIP(image, test, path);
    struct statvfs space { };
    ASSERT_EQ(::statvfs(image.folder.c_str(), &space), 0);
    const uint64_t room = space.f_bavail * space.f_frsize;
    const auto grow = [&](uint64_t size) {
        std::error_code fault;
        fs::resize_file(image.folder / "large", size, fault);
        return fault.value();
    };
    writeFile(image.folder / "large", "x");
    EXPECT_EQ(grow(room + 1), ENOSPC);
    EXPECT_EQ(grow(room), 0);
    EXPECT_EQ(grow(room / 2), 0);
    writeFile(image.folder / "small", "fits again");
    EXPECT_EQ(test.attached().release(image, {}).lost, "");
    EXPECT_EQ(volumeFaults(path), std::vector<std::string>{});
}

TEST(ServedVolume, KeepsFilesThatAreOpenWhileTheyAreRemovedAndReplaced)
{
    const TestVolumes test(Appearance::mounted);
    ATTACH_OR_SKIP(image, test, test.makeImage("a.dmg"));
    const fs::path path = image.folder / "Sample.app/Contents/Info.plist";
    std::ifstream removed(path), unchanged(image.folder / "Sample.app/Contents/MacOS/Sample");
    std::fstream made(image.folder / "made", std::ios::in | std::ios::out | std::ios::trunc);
    fs::remove(path);
    fs::remove(image.folder / "made");
    writeFile(path, "another");
    fs::resize_file(image.folder / "Sample.app/Contents/MacOS/Sample", 5);
    std::string line;
    EXPECT_TRUE(std::getline(removed, line));
    EXPECT_EQ(line, "<plist/>");
    EXPECT_TRUE(std::getline(unchanged, line));
    EXPECT_EQ(line, "xxxxx");
    made << "still there" << std::flush;
    made.seekg(0);
    EXPECT_TRUE(std::getline(made, line));
    EXPECT_EQ(line, "still there");
}

TEST(ServedVolume, RefusesAtOnceWhatItsVolumeCannotHold)
{
    const TestVolumes test(Appearance::mounted);
    const fs::path path = test.makeImage("a.dmg");
    ATTACH_OR_SKIP(image, test, path);
    const auto make = [&](const char* name) {
        const int file = ::open((image.folder / name).c_str(), O_CREAT | O_EXCL | O_WRONLY, 0600);
        const int fault = file < 0 ? errno : 0;
        ::close(file);
        return fault;
    };
    EXPECT_EQ(make("Caf\xC3\xA9"), 0);
    EXPECT_EQ(make("CAFE\xCC\x81"), EEXIST);
    EXPECT_EQ(::mkdir((image.folder / "sample.APP").c_str(), 0700), -1);
    EXPECT_EQ(
        ::rename((image.folder / "Caf\xC3\xA9").c_str(), (image.folder / "CAF\xC3\x89").c_str()),
        0);
    EXPECT_EQ(make("Caf\xC3\xA9"), EEXIST);
    fs::remove(image.folder / "CAF\xC3\x89");
    EXPECT_EQ(make("cafe\xCC\x81"), 0);
    EXPECT_EQ(::symlink(std::string(1024, 't').c_str(), (image.folder / "long").c_str()), -1);
    int attributes = 0;
    while (attributes < 1000
        && ::setxattr(image.folder.c_str(),
               ("user." + std::string(200, 'n') + std::to_string(attributes)).c_str(), "", 0, 0)
            == 0)
        ++attributes;
    EXPECT_LT(attributes, 1000);
    EXPECT_EQ(test.attached().release(image, {}).lost, "");
    EXPECT_EQ(volumeFaults(path), std::vector<std::string>{});
}

TEST(ServedVolume, ShowsAResourceForkLargerThanItsFreeRoom)
{
    const TestVolumes test(Appearance::mounted);
    const fs::path source = test.folder() / "source", path = test.folder() / "fork.dmg";
    writeFile(source / "file", "x");
    macfile::writeMetadata(source / "file", richMetadata(9 << 20));
    volumes::createImage(path, optionsFor(source));
    ATTACH_OR_SKIP(image, test, path);
    EXPECT_EQ(macfile::readMetadata(image.folder / "file").resourceFork.size(), 9U << 20);
    EXPECT_EQ(mounting::isUntouched(
                  bytes::File::open(image.folder, bytes::File::Mode::read).descriptor()),
        true);
}

TEST(ServedVolume, OfACompressedImageIsReadAsItIsDecoded)
{
    const TestVolumes test(Appearance::mounted);
    const fs::path raw = makeRichImage(test), compressed = test.folder() / "c.dmg";
    udif::convertImage(udif::DiskImage::open(raw), compressed, {});
    ATTACH_OR_SKIP(image, test, compressed);
    EXPECT_FALSE(image.writable);
    EXPECT_TRUE(
        readFile(image.folder / "Sample.app/Contents/MacOS/Sample") == std::string(300'000, 'x'));
}

} // namespace
