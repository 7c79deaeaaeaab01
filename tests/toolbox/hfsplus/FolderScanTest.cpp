#include "hfsplus/FolderScan.h"

#include "TemporaryFolder.h"
#include "hfsplus/Dates.h"
#include "macfile/Metadata.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

using namespace hfsplus;
namespace fs = std::filesystem;

namespace {

constexpr uint64_t inlineLimit = 1000;

/// Paths relative to the folder, in the scan's order.
std::vector<std::string> pathsOf(const FolderScan& scan)
{
    std::vector<std::string> paths;
    for (uint32_t i = 1; i < scan.objects().size(); ++i)
        paths.push_back(scan.path(i).lexically_relative(scan.path(0)).string());
    return paths;
}

const ScannedObject& objectAt(const FolderScan& scan, const fs::path& relative)
{
    for (uint32_t i = 0; i < scan.objects().size(); ++i) {
        if (scan.path(i) == scan.path(0) / relative)
            return scan.objects()[i];
    }
    throw std::out_of_range(relative.string());
}

/// What a scan of `folder` reports, "NAME: REASON" each; empty when it reports nothing.
std::vector<std::string> problemsIn(const fs::path& folder)
{
    std::vector<std::string> problems;
    try {
        FolderScan(folder, inlineLimit);
    } catch (const SourceError& error) {
        for (const auto& problem : error.problems())
            problems.push_back(problem.path.filename().string() + ": " + problem.reason);
    }
    return problems;
}

/// While it lives, nothing is done with the superuser's rights: everything is readable to those.
class AsOrdinaryUser {
public:
    AsOrdinaryUser()
    {
        if (m_before == 0 && ::seteuid(65534) != 0)
            throw std::runtime_error("seteuid");
    }
    ~AsOrdinaryUser()
    {
        if (::seteuid(m_before) != 0)
            std::abort();
    }

private:
    uid_t m_before = ::geteuid();
};

} // namespace

TEST(FolderScan, OrdersObjectsAsTheCatalogDoes)
{
    const TemporaryFolder folder;
    for (const char* name : {"Z", "a_b", "aB", ".DS_Store", "sub/z", "sub/A", "empty/x", "k/l/m"})
        folder.write(name, name);
    const FolderScan scan(folder, inlineLimit);
    const std::vector<std::string> expected{".DS_Store", "a_b", "aB", "empty", "k", "sub", "Z",
        "empty/x", "k/l", "sub/A", "sub/z", "k/l/m"};
    EXPECT_EQ(pathsOf(scan), expected);
    EXPECT_EQ(scan.objects()[0].childCount, 7U);
    EXPECT_EQ(objectAt(scan, "sub").childCount, 2U);
    EXPECT_EQ(objectAt(scan, "a_b").size, 3U);
}

TEST(FolderScan, KeepsWhatTheHostSays)
{
    const TemporaryFolder folder;
    const fs::path file = folder.write("file", "content");
    ::chmod(file.c_str(), 0751);
    const timespec times[] = {{1'600'000'000, 0}, {1'500'000'000, 0}};
    ::utimensat(AT_FDCWD, file.c_str(), times, 0);
    fs::create_symlink("nowhere at all", folder.path() / "link");

    const FolderScan scan(folder, inlineLimit);
    const ScannedObject& object = objectAt(scan, "file");
    EXPECT_EQ(object.mode, 0100751);
    EXPECT_EQ(object.owner, ::getuid());
    EXPECT_EQ(object.modified, macDate(1'500'000'000));
    EXPECT_EQ(object.accessed, macDate(1'600'000'000));
    EXPECT_LE(object.created, object.modified);
    EXPECT_TRUE(objectAt(scan, "link").isSymlink());
    EXPECT_EQ(objectAt(scan, "link").size, 14U);
}

TEST(FolderScan, NeverFollowsALinkInside)
{
    const TemporaryFolder outside;
    outside.write("secret", "secret");
    const TemporaryFolder folder;
    fs::create_directory_symlink(outside.path(), folder.path() / "link");
    fs::create_directory_symlink(".", folder.path() / "loop");
    EXPECT_EQ(pathsOf(FolderScan(folder, inlineLimit)), (std::vector<std::string>{"link", "loop"}));
    // The folder that the user names may be one.
    EXPECT_EQ(pathsOf(FolderScan(folder.path() / "link", inlineLimit)),
        std::vector<std::string>{"secret"});
}

TEST(FolderScan, FindsHardLinksWithinTheFolder)
{
    const TemporaryFolder outside;
    const TemporaryFolder folder;
    const fs::path shared = folder.write("shared", "x");
    fs::create_hard_link(shared, folder.path() / "again");
    fs::create_hard_link(
        shared, (fs::create_directory(folder.path() / "sub"), folder.path() / "sub/third"));
    fs::create_hard_link(folder.write("alone", "y"), outside.path() / "elsewhere");

    const FolderScan scan(folder, inlineLimit);
    ASSERT_EQ(scan.linkGroups().size(), 1U);
    EXPECT_EQ(scan.linkGroups()[0].size(), 3U);
    EXPECT_EQ(objectAt(scan, "shared").linkGroup, 0U);
    EXPECT_EQ(objectAt(scan, "sub/third").linkGroup, 0U);
    EXPECT_EQ(objectAt(scan, "alone").linkGroup, ScannedObject::none);
}

TEST(FolderScan, TakesMetadataAndNotItsCompanions)
{
    const TemporaryFolder folder;
    const fs::path file = folder.write("file", "content");
    folder.write("._other", "not a companion");
    macfile::Metadata metadata;
    metadata.finderInfo[0] = std::byte{'T'};
    metadata.resourceFork.assign(100'000, std::byte{5}); // too large for the host's attributes
    metadata.attributes["com.example.z"] = {std::byte{1}};
    metadata.attributes["com.example.a"].assign(inlineLimit + 1, std::byte{2});
    metadata.attributes["com.apple.system.Security"] = {std::byte{3}};
    macfile::writeMetadata(file, metadata);
    ASSERT_TRUE(fs::exists(folder.path() / "._file"));

    const FolderScan scan(folder, inlineLimit);
    EXPECT_EQ(pathsOf(scan), (std::vector<std::string>{"._other", "file"}));
    const ScannedMetadata* found = scan.metadata(objectAt(scan, "file"));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->finderInfo, metadata.finderInfo);
    EXPECT_EQ(found->resourceForkSize, 100'000U);
    ASSERT_EQ(found->attributes.size(), 2U);
    EXPECT_EQ(found->attributes[0].name, u"com.example.a");
    EXPECT_TRUE(found->attributes[0].isLarge());
    EXPECT_EQ(found->attributes[0].size, inlineLimit + 1);
    EXPECT_EQ(found->attributes[1].value.size(), 1U);
    EXPECT_EQ(scan.metadata(objectAt(scan, "._other")), nullptr);
}

TEST(FolderScan, ReportsAllThatAVolumeCannotHold)
{
    const TemporaryFolder folder;
    folder.write("README", "");
    folder.write("ReadMe", "");
    folder.write("sub/Caf\xC3\xA9", "");
    folder.write("sub/CAFE\xCC\x81", "");
    ::mkfifo((folder.path() / "pipe").c_str(), 0600);
    fs::create_symlink(std::string(1024, 't'), folder.path() / "long");
    folder.write("\xE2\x90\x80\xE2\x90\x80\xE2\x90\x80\xE2\x90\x80HFS+ Private Data/x", "");

    const std::vector<std::string> expected{"long: the link's target is too long",
        "pipe: sockets, pipes and devices can't be copied",
        "ReadMe: its name and \"README\" are the same on a Mac volume",
        "\xE2\x90\x80\xE2\x90\x80\xE2\x90\x80\xE2\x90\x80HFS+ Private Data: "
        "the volume keeps this name for itself",
        "Caf\xC3\xA9: its name and \"CAFE\xCC\x81\" are the same on a Mac volume"};
    EXPECT_EQ(problemsIn(folder), expected);
}

TEST(FolderScan, ReportsWhatItCannotRead)
{
    EXPECT_EQ(problemsIn("/nonexistent/folder"),
        std::vector<std::string>{"folder: No such file or directory"});
    const TemporaryFolder folder;
    EXPECT_EQ(
        problemsIn(folder.write("file", "x")), std::vector<std::string>{"file: Not a directory"});
    ::chmod(folder.path().c_str(), 0755);
    ::chmod((folder.path() / "file").c_str(), 0);
    const AsOrdinaryUser user;
    EXPECT_EQ(problemsIn(folder), std::vector<std::string>{"file: Permission denied"});
}
