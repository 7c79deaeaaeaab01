#include "macfile/Metadata.h"

#include "Hex.h"
#include "macfile/AppleDouble.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/xattr.h>
#include <system_error>

namespace macfile {

namespace fs = std::filesystem;

namespace {

void writeFile(const fs::path& path, std::span<const std::byte> raw)
{
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(raw.data()), static_cast<std::streamsize>(raw.size()));
}

/// A folder that is gone after the test, with `file`, `folder` and `link` in it.
class HostMetadata : public testing::Test {
protected:
    HostMetadata()
    {
        std::string name = (fs::temp_directory_path() / "metadata-XXXXXX").string();
        root = ::mkdtemp(name.data());
        writeFile(root / "file", fromText("data"));
        fs::create_directory(root / "folder");
        fs::create_symlink("file", root / "link");
    }
    ~HostMetadata() override { fs::remove_all(root); }

    bool hostKeepsAttributes() const
    {
        return ::lsetxattr((root / "file").c_str(), "user.probe", "1", 1, 0) == 0
            && ::lremovexattr((root / "file").c_str(), "user.probe") == 0;
    }

    static Metadata small()
    {
        Metadata metadata;
        metadata.setFinderFlags(finderFlag::customIcon, true);
        metadata.attributes["com.apple.quarantine"] = fromText("0081;");
        return metadata;
    }

    /// More than common host file systems take in one attribute.
    static Metadata large()
    {
        Metadata metadata = small();
        metadata.resourceFork.assign(200'000, std::byte{7});
        return metadata;
    }

    fs::path root;
};

} // namespace

TEST_F(HostMetadata, WhatIsWrittenIsReadBack)
{
    struct Row {
        const char* item;
        const char* companion;
    };
    const Row rows[] = {{"file", "._file"}, {"folder", "folder/._."}, {"link", "._link"}};
    for (const auto& [item, companion] : rows) {
        for (const Metadata& metadata : {large(), small(), Metadata{}}) {
            writeMetadata(root / item, metadata);
            EXPECT_EQ(readMetadata(root / item), metadata) << item;
            EXPECT_EQ(isCompanion(root / companion), fs::exists(root / companion)) << companion;
        }
        EXPECT_FALSE(fs::exists(root / companion)) << "nothing left to keep for " << item;
    }
    EXPECT_TRUE(readMetadata(root / "file").empty()) << "the link's is not the file's";
}

TEST_F(HostMetadata, SmallItemsBecomeTheHostsAttributes)
{
    if (!hostKeepsAttributes())
        GTEST_SKIP() << "no user attributes here";
    writeMetadata(root / "file", small());
    EXPECT_FALSE(fs::exists(root / "._file"));
    std::array<char, 32> info{};
    ASSERT_EQ(
        ::lgetxattr((root / "file").c_str(), "user.com.apple.FinderInfo", info.data(), 32), 32);
    EXPECT_EQ(info[8], 4);
    EXPECT_GT(::lgetxattr((root / "file").c_str(), "user.com.apple.quarantine", nullptr, 0), 0);
}

TEST_F(HostMetadata, CompanionsOfAMacCountOverAttributes)
{
    Metadata own = small(), other = small();
    own.attributes["kept"] = fromText("kept");
    other.attributes["com.apple.quarantine"] = fromText("companion's");
    for (const char* item : {"file", "folder"}) {
        writeMetadata(root / item, own);
        writeFile(root / ("._" + std::string(item)), writeAppleDouble(other));
        Metadata both = other;
        both.attributes["kept"] = fromText("kept");
        EXPECT_EQ(readMetadata(root / item), both) << item;
        if (fs::is_directory(root / item)) {
            EXPECT_EQ(readMetadata(root / item / ""), both) << "a trailing slash changes nothing";
        }

        writeMetadata(root / item, {});
        EXPECT_TRUE(readMetadata(root / item).empty()) << item;
    }
}

TEST_F(HostMetadata, AnOrdinaryFileWithACompanionsNameStaysOne)
{
    const auto text = fromText("I only look like one");
    writeFile(root / "._file", text);
    EXPECT_FALSE(isCompanion(root / "._file"));
    EXPECT_TRUE(readMetadata(root / "file").empty());
    EXPECT_NO_THROW(writeMetadata(root / "file", {}));
    removeCompanion(root / "file");
    EXPECT_EQ(fs::file_size(root / "._file"), text.size());

    Metadata tooLarge;
    tooLarge.resourceFork.assign(70'000, std::byte{1}); // the kernel's limit is 64 KiB
    EXPECT_THROW(writeMetadata(root / "file", tooLarge), std::system_error);
    EXPECT_EQ(fs::file_size(root / "._file"), text.size());
}

TEST_F(HostMetadata, ACompanionNeedsItsOwner)
{
    const auto raw = writeAppleDouble(small());
    writeFile(root / "._gone", raw);
    writeFile(root / "._file", raw);
    writeFile(root / "._.", raw);
    EXPECT_FALSE(isCompanion(root / "._gone"));
    EXPECT_FALSE(isCompanion(root / "file"));
    EXPECT_TRUE(isCompanion(root / "._file"));
    EXPECT_TRUE(isCompanion(root / "._.")) << "that of the folder itself";
    EXPECT_EQ(readMetadata(root), small());

    removeCompanion(root / "file");
    EXPECT_FALSE(fs::exists(root / "._file"));
}

TEST_F(HostMetadata, FoldersWithoutANameOfTheirOwnAreRead)
{
    EXPECT_NO_THROW(readMetadata("/"));
    EXPECT_NO_THROW(readMetadata("."));
    writeMetadata(root / "folder/.", large());
    EXPECT_EQ(readMetadata(root / "folder"), large());
    EXPECT_EQ(readMetadata(root / "folder/./"), large());
}

TEST_F(HostMetadata, AMissingFileIsAnError)
{
    EXPECT_THROW(readMetadata(root / "nothing"), std::system_error);
    EXPECT_THROW(writeMetadata(root / "nothing", small()), std::system_error);
    EXPECT_FALSE(fs::exists(root / "._nothing"));
}

} // namespace macfile
