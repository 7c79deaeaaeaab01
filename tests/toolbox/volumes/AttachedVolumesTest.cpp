#include "TestVolumes.h"

#include "bytes/FormatError.h"
#include "macfile/Metadata.h"
#include "udif/DiskImage.h"
#include "udif/ImageConverter.h"
#include "udif/ImageError.h"
#include "volumes/MountedVolume.h"

#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;
using volumes::AttachedImage;
using volumes::AttachOptions;
using volumes::VolumeError;

namespace {

VolumeError::Case caseOf(const std::function<void()>& work)
{
    try {
        work();
    } catch (const VolumeError& failure) {
        return failure.which();
    }
    throw std::logic_error("nothing was thrown");
}

} // namespace

TEST(Attach, LaysTheVolumeOutUnderItsName)
{
    const TestVolumes test;
    const fs::path path = test.makeImage("a.dmg", "My App");
    const AttachedImage image = test.attach(path);

    EXPECT_EQ(image.diskName(), "disk4");
    EXPECT_EQ(image.volumeDevice(), "disk4s1");
    EXPECT_EQ(image.mountPoint, "/Volumes/My App");
    EXPECT_EQ(image.content, "GUID_partition_scheme");
    ASSERT_EQ(image.slices.size(), 1U);
    EXPECT_EQ(image.slices[0].content, "Apple_HFS");
    EXPECT_TRUE(image.writable);
    EXPECT_EQ(readFile(image.folder / "Sample.app/Contents/Info.plist"), "<plist/>");
    EXPECT_EQ(fs::read_symlink(image.folder / "Applications"), "/Applications");
    EXPECT_EQ(test.attached().list(), std::vector{image});
}

TEST(Attach, TheSameImageIsAttachedOnce)
{
    const TestVolumes test;
    const fs::path path = test.makeImage("a.dmg");
    const AttachedImage first = test.attach(path);
    fs::create_symlink(path, test.folder() / "link.dmg");
    EXPECT_EQ(test.attach(test.folder() / "link.dmg"), first);
    EXPECT_EQ(test.attached().list().size(), 1U);
}

TEST(Attach, RefusesToWriteToWhatIsAttachedReadOnly)
{
    const TestVolumes test;
    const fs::path path = test.makeImage("a.dmg");
    const AttachedImage image = test.attach(path, AttachOptions::Access::readOnly);
    EXPECT_EQ(test.attach(path), image);
    EXPECT_EQ(caseOf([&] { test.attach(path, AttachOptions::Access::readWrite); }),
        VolumeError::Case::attachedAlready);
}

TEST(Attach, VolumesOfOneNameGetNumbers)
{
    const TestVolumes test;
    EXPECT_EQ(test.attach(test.makeImage("a.dmg")).mountPoint, "/Volumes/Disk");
    EXPECT_EQ(test.attach(test.makeImage("b.dmg")).mountPoint, "/Volumes/Disk 1");
    const AttachedImage third = test.attach(test.makeImage("c.dmg"));
    EXPECT_EQ(third.mountPoint, "/Volumes/Disk 2");
    EXPECT_EQ(third.diskName(), "disk6");
    for (const char* meant : {"/Volumes/Disk 2", "/Volumes/Disk 2/", "/Volumes//./Disk 2", "disk6",
             "/dev/disk6", "disk6s1", "/dev/disk6s1"})
        EXPECT_EQ(test.attached().find(meant).image, third) << meant;
    for (const char* other : {"/Volumes/Disk 3", "Disk 2", "disk", "disk6x", "disk6s", "disk6s2",
             "disk6s1x", "disk-6", "disk99999999999", ""})
        EXPECT_FALSE(test.attached().find(other).image) << other;
}

TEST(Attach, NamesOfAllKindsComeBackAsTyped)
{
    struct Row {
        const char* what;
        std::string volume;
        std::string mountPoint;
    };
    const Row rows[] = {
        {"blanks and quotes", "It's \"my\"  App", "/Volumes/It's \"my\"  App"},
        {"accents, composed", "Café Zoë", "/Volumes/Café Zoë"},
        {"a slash", "Version 1/2", "/Volumes/Version 1:2"},
        {"emoji", "Box 📦", "/Volumes/Box 📦"},
        {"a shell's characters", "$(touch x);`y`&*", "/Volumes/$(touch x);`y`&*"},
    };
    for (const Row& row : rows) {
        const TestVolumes test;
        const AttachedImage image = test.attach(test.makeImage("a.dmg", row.volume));
        EXPECT_EQ(image.mountPoint, row.mountPoint) << row.what;
        EXPECT_EQ(image.volumeName, row.volume) << row.what;
        EXPECT_TRUE(fs::exists(image.folder / "Sample.app")) << row.what;
        EXPECT_EQ(test.attached().find(row.mountPoint).image, image) << row.what;
    }
}

TEST(Attach, RefusesWhatHasNoVolumeAndLeavesNothing)
{
    const TestVolumes test;
    const fs::path text = test.folder() / "text.dmg";
    writeFile(text, "this is no disk image");
    const fs::path empty = test.folder() / "empty.dmg";
    writeFile(empty, std::string(1 << 20, '\0'));
    const fs::path damaged = test.makeImage("damaged.dmg");
    // The catalog's fork in the volume header points past the volume.
    std::string bytes = readFile(damaged);
    bytes.replace(20480 + 1024 + 272 + 16, 4, "\x7F\xFF\xFF\xFF");
    bytes.replace(bytes.size() - 33 * 512 - 1024 + 272 + 16, 4, "\x7F\xFF\xFF\xFF");
    writeFile(damaged, bytes);

    EXPECT_THROW(test.attach(test.folder() / "none.dmg"), std::system_error);
    EXPECT_ANY_THROW(test.attach(text));
    EXPECT_ANY_THROW(test.attach(empty));
    EXPECT_THROW(test.attach(damaged), bytes::FormatError);
    EXPECT_TRUE(test.attached().list().empty());
    EXPECT_EQ(test.stateNames(), std::vector<std::string>{"lock"});
}

TEST(Attach, TakesAMountPointOfTheCaller)
{
    const TestVolumes test;
    const fs::path path = test.makeImage("a.dmg");
    const fs::path own = test.folder() / "mount here";
    auto attached = test.attached();
    EXPECT_THROW(attached.attach(path, {.mountPoint = own}), std::system_error) << "not there";
    fs::create_directory(own);
    const AttachedImage image = attached.attach(path, {.mountPoint = own}).image;
    EXPECT_EQ(image.mountPoint, own);
    EXPECT_TRUE(fs::exists(own / "Sample.app"));
    attached.release(image, {});
    EXPECT_TRUE(fs::is_empty(own)) << "the folder itself was there before";

    const auto named = attached.attach(path, {.mountPoint = "/Volumes/Other"}).image;
    EXPECT_EQ(named.folder, test.state().volumes() / "Other");
    EXPECT_THROW(attached.attach(test.makeImage("b.dmg"), {.mountPoint = "/Volumes/Other"}),
        std::system_error)
        << "taken";
    EXPECT_THROW(
        attached.attach(test.makeImage("c.dmg"), {.mountPoint = "/Volumes"}), std::system_error)
        << "the folder of all volumes";
}

TEST(Release, LeavesAnUntouchedImageAsItWas)
{
    const TestVolumes test;
    const fs::path path = test.makeImage("a.dmg");
    const std::string before = readFile(path);
    const AttachedImage image = test.attach(path);
    readFile(image.folder / "Sample.app/Contents/Info.plist");
    test.attached().release(image, {});
    EXPECT_TRUE(readFile(path) == before);
    EXPECT_FALSE(fs::exists(image.folder));
    EXPECT_EQ(test.stateNames(), std::vector<std::string>{"lock"});
}

TEST(Release, WritesBackWhatWasChanged)
{
    const TestVolumes test;
    const fs::path path = test.makeImage("a.dmg");
    AttachedImage image = test.attach(path);
    writeFile(image.folder / ".DS_Store", std::string(6148, 's'));
    writeFile(image.folder / "Sample.app/Contents/Resources/é.txt", "new");
    writeFile(image.folder / "Sample.app/Contents/Info.plist", "changed");
    fs::remove(image.folder / ".background/picture.png");
    macfile::Metadata metadata = macfile::readMetadata(image.folder);
    metadata.setFinderFlags(macfile::finderFlag::customIcon, true);
    macfile::writeMetadata(image.folder, metadata);
    test.attached().release(image, {});

    EXPECT_EQ(volumeFaults(path), std::vector<std::string>{});
    image = test.attach(path);
    EXPECT_EQ(readFile(image.folder / ".DS_Store"), std::string(6148, 's'));
    EXPECT_EQ(readFile(image.folder / "Sample.app/Contents/Resources/é.txt"), "new");
    EXPECT_EQ(readFile(image.folder / "Sample.app/Contents/Info.plist"), "changed");
    EXPECT_TRUE(fs::is_empty(image.folder / ".background"));
    EXPECT_EQ(macfile::readMetadata(image.folder).finder().flags, macfile::finderFlag::customIcon);
}

TEST(Release, OfAReadOnlyAttachmentWritesNothing)
{
    const TestVolumes test;
    const fs::path path = test.makeImage("a.dmg");
    const std::string before = readFile(path);
    const AttachedImage image = test.attach(path, AttachOptions::Access::readOnly);
    EXPECT_FALSE(image.writable);
    EXPECT_FALSE(test.attached().isBeingWritten(path));
    EXPECT_EQ(test.attached().release(image, {}).lost, "");
    const AttachedImage again = test.attach(path, AttachOptions::Access::readOnly);
    writeFile(again.folder / "new", "x");
    EXPECT_EQ(test.attached().release(again, {}).lost, "the image is attached read-only");
    EXPECT_TRUE(readFile(path) == before);
}

TEST(Release, OfACompressedImageAskedToBeWritableIsReadOnly)
{
    const TestVolumes test;
    const fs::path raw = test.makeImage("a.dmg");
    const fs::path compressed = test.folder() / "c.dmg";
    udif::convertImage(udif::DiskImage::open(raw), compressed, {});
    const AttachedImage image = test.attach(compressed, AttachOptions::Access::readWrite);
    EXPECT_FALSE(image.writable);
    EXPECT_EQ(image.imageType, "UDIF read-only compressed (zlib)");
    EXPECT_EQ(readFile(image.folder / ".background/picture.png"), "a picture");
}

TEST(Release, AFullVolumeStaysAttached)
{
    const TestVolumes test;
    const fs::path path = test.makeImage("a.dmg");
    const std::string before = readFile(path);
    const AttachedImage image = test.attach(path);
    writeFile(image.folder / "large", std::string(20 << 20, 'x'));

    EXPECT_EQ(caseOf([&] { test.attached().release(image, {}); }), VolumeError::Case::full);
    EXPECT_EQ(test.attached().list(), std::vector{image});
    EXPECT_TRUE(readFile(path) == before);
    fs::remove(image.folder / "large");
    writeFile(image.folder / "small", "x");
    EXPECT_EQ(test.attached().release(image, {}).lost, "");
    EXPECT_EQ(volumeFaults(path), std::vector<std::string>{});
}

TEST(Release, ForceLetsGoWhatDoesNotFitAndSaysSo)
{
    const TestVolumes test;
    const AttachedImage image = test.attach(test.makeImage("a.dmg"));
    writeFile(image.folder / "large", std::string(20 << 20, 'x'));
    const auto result = test.attached().release(image, {.force = true});
    EXPECT_NE(result.lost.find("No space left"), std::string::npos) << result.lost;
    EXPECT_TRUE(test.attached().list().empty());
}

TEST(Release, ABusyVolumeIsLeftAloneUnlessForced)
{
    const TestVolumes test;
    const fs::path path = test.makeImage("a.dmg");
    const AttachedImage image = test.attach(path);
    // A process of its own: what the tool itself has open doesn't count.
    const pid_t child = ::fork();
    if (child == 0) {
        if (::chdir((image.folder / "Sample.app").c_str()) != 0)
            ::_exit(1);
        ::execlp("sleep", "sleep", "60", nullptr);
        ::_exit(1);
    }
    while (!volumes::processUsing(image.folder))
        std::this_thread::yield();

    EXPECT_EQ(caseOf([&] { test.attached().release(image, {}); }), VolumeError::Case::busy);
    EXPECT_EQ(volumes::processUsing(image.folder)->id, child);
    EXPECT_EQ(volumes::processUsing(image.folder)->parentID, ::getpid());
    writeFile(image.folder / "new", "kept");
    test.attached().release(image, {.force = true});
    EXPECT_FALSE(fs::exists(image.folder));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_EQ(readFile(test.attach(path).folder / "new"), "kept");
}

TEST(Release, CanUnmountAloneAndMountAgain)
{
    const TestVolumes test;
    const fs::path path = test.makeImage("a.dmg");
    AttachedImage image = test.attach(path);
    writeFile(image.folder / "new", "kept");
    test.attached().release(image, {.keepAttached = true});
    ASSERT_EQ(test.attached().list().size(), 1U);
    EXPECT_FALSE(test.attached().list()[0].isMounted());
    EXPECT_TRUE(volumes::mountedVolumes(test.state()).empty());

    const AttachedImage again = test.attach(path);
    EXPECT_EQ(again.diskName(), image.diskName());
    EXPECT_EQ(readFile(again.folder / "new"), "kept");
    test.attached().release(again, {});
    EXPECT_EQ(caseOf([&] { test.attached().release(again, {}); }), VolumeError::Case::notAttached);
}

TEST(Release, FoldersThatForbidEverythingGoToo)
{
    const TestVolumes test;
    const AttachedImage image = test.attach(test.makeImage("a.dmg"));
    fs::permissions(
        image.folder / "Sample.app/Contents", fs::perms::owner_read | fs::perms::owner_exec);
    test.attached().release(image, {});
    EXPECT_FALSE(fs::exists(image.folder));
}

TEST(MountedVolumes, KnowWhatTheFilesAreOnTheVolume)
{
    const TestVolumes test;
    const AttachedImage image = test.attach(test.makeImage("a.dmg", "A/B"));
    const auto mounted = volumes::mountedVolumes(test.state());
    ASSERT_EQ(mounted.size(), 1U);
    EXPECT_EQ(mounted[0].name, "A/B");
    EXPECT_EQ(mounted[0].mountPoint, "/Volumes/A:B");
    EXPECT_EQ(mounted[0].folder, image.folder);
    EXPECT_NE(mounted[0].createDate, 0U);

    const auto root = identityOf(mounted[0], "");
    const auto folder = identityOf(mounted[0], ".background");
    const auto picture = identityOf(mounted[0], ".background/picture.png");
    ASSERT_TRUE(root && folder && picture);
    EXPECT_EQ(root->id, 2U);
    EXPECT_EQ(folder->parentID, 2U);
    EXPECT_EQ(picture->parentID, folder->id);
    EXPECT_FALSE(identityOf(mounted[0], "nothing"));
}

TEST(AttachedVolumes, SeveralThreadsAttachAndReleaseAtOnce)
{
    const TestVolumes test;
    std::vector<fs::path> images;
    for (int i = 0; i < 4; ++i)
        images.push_back(test.makeImage("image" + std::to_string(i) + ".dmg"));
    std::vector<std::jthread> threads;
    for (int worker = 0; worker < 4; ++worker) {
        threads.emplace_back([&, worker] {
            for (int round = 0; round < 5; ++round) {
                const AttachedImage image = test.attach(images[static_cast<std::size_t>(worker)]);
                writeFile(
                    image.folder / ("worker " + std::to_string(worker)), std::to_string(round));
                test.attached().release(image, {});
            }
        });
    }
    threads.clear();
    EXPECT_TRUE(test.attached().list().empty());
    for (std::size_t i = 0; i < images.size(); ++i) {
        EXPECT_EQ(volumeFaults(images[i]), std::vector<std::string>{});
        const AttachedImage image = test.attach(images[i]);
        EXPECT_EQ(readFile(image.folder / ("worker " + std::to_string(i))), "4");
    }
}

TEST(AttachedVolumes, OneImageAttachedBySeveralAtOnceIsAttachedOnce)
{
    const TestVolumes test;
    const fs::path path = test.makeImage("a.dmg");
    std::vector<std::string> mountPoints(6);
    std::vector<std::jthread> threads;
    for (std::string& mountPoint : mountPoints)
        threads.emplace_back([&] { mountPoint = test.attach(path).mountPoint; });
    threads.clear();
    EXPECT_EQ(mountPoints, std::vector<std::string>(6, "/Volumes/Disk"));
    EXPECT_EQ(test.attached().list().size(), 1U);
}
