#include "macfile/ResourceFork.h"

#include "Hex.h"
#include "bytes/FormatError.h"
#include "macfile/CustomIcon.h"

#include <gtest/gtest.h>

namespace macfile {

namespace {

const auto tinyIcon = fromHex("69636e73 00000008");

std::vector<Resource> mixedResources()
{
    return {
        {{'i', 'c', 'n', 's'}, -16455, {}, 0, tinyIcon},
        {{'S', 'T', 'R', ' '}, 128, "greeting", 0x20, fromText("\x05hello")},
        {{'i', 'c', 'n', 's'}, 128, "", 0, {}},
    };
}

} // namespace

TEST(ResourceFork, OneIconIsWrittenAsAMacWritesIt)
{
    const Resource icon{{'i', 'c', 'n', 's'}, -16455, {}, 0, tinyIcon};
    const auto fork = writeResourceFork(std::span(&icon, 1));
    std::vector<std::byte> expected = fromHex("00000100 0000010c 0000000c 00000032");
    expected.resize(256);
    for (const std::byte value : fromHex("00000008 69636e73 00000008"
                                         "00000100 0000010c 0000000c 00000032"
                                         "00000000 0000 0000 001c 0032"
                                         "0000 69636e73 0000 000a"
                                         "bfb9 ffff 00 000000 00000000"))
        expected.push_back(value);
    EXPECT_EQ(fork, expected);
    EXPECT_EQ(fork.size(), 318u);
}

TEST(ResourceFork, NamesAttributesAndOrderWithinATypeSurvive)
{
    const auto read = readResourceFork(writeResourceFork(mixedResources()));
    const auto given = mixedResources();
    const std::vector<Resource> grouped{given[0], given[2], given[1]};
    EXPECT_EQ(read, grouped);
}

TEST(ResourceFork, AFillerForkHasNoResources)
{
    EXPECT_EQ(fillerFork().size(), 286u);
    EXPECT_TRUE(isFillerFork(fillerFork()));
    EXPECT_TRUE(readResourceFork(fillerFork()).empty());
    EXPECT_TRUE(readResourceFork({}).empty());
}

TEST(ResourceFork, DamageEndsInAFormatErrorOrASoundParse)
{
    const auto fork = writeResourceFork(mixedResources());
    for (std::size_t length = 1; length < fork.size(); ++length)
        EXPECT_THROW(readResourceFork(std::span(fork).first(length)), bytes::FormatError);
    for (std::size_t at = 0; at < fork.size(); ++at) {
        auto damaged = fork;
        damaged[at] ^= std::byte{0xFF};
        try {
            EXPECT_LE(readResourceFork(damaged).size(), fork.size() / 12);
        } catch (const bytes::FormatError&) { }
    }
}

TEST(CustomIcon, OtherResourcesAndFlagsStay)
{
    Metadata metadata;
    metadata.setFinderFlags(finderFlag::invisible, true);
    const Resource other{{'S', 'T', 'R', ' '}, 128, {}, 0, fromText("x")};
    metadata.resourceFork = writeResourceFork(std::span(&other, 1));

    setCustomIcon(metadata, fromText("first"));
    setCustomIcon(metadata, tinyIcon);
    EXPECT_EQ(customIcon(metadata), tinyIcon);
    EXPECT_EQ(metadata.finder().flags, 0x4400);
    EXPECT_EQ(metadata.finderInfo[8], std::byte{0x44}) << "the flags' place is the format's";
    EXPECT_EQ(readResourceFork(metadata.resourceFork).size(), 2u);

    clearCustomIcon(metadata);
    EXPECT_EQ(metadata.finder().flags, finderFlag::invisible);
    EXPECT_EQ(readResourceFork(metadata.resourceFork), std::vector{other});
}

} // namespace macfile
