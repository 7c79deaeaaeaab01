#include "macfile/AppleDouble.h"

#include "Hex.h"
#include "bytes/FormatError.h"

#include <gtest/gtest.h>

namespace macfile {

namespace {

Metadata everything()
{
    Metadata metadata;
    metadata.setFinderFlags(finderFlag::customIcon, true);
    metadata.resourceFork = fromText("a fork, whatever is in it");
    metadata.attributes["com.apple.quarantine"] = fromText("0081;5f;Some Browser;");
    metadata.attributes["empty"] = {};
    metadata.attributes["org.example.large"] = std::vector<std::byte>(9001, std::byte{0x5A});
    return metadata;
}

} // namespace

TEST(AppleDouble, WithoutAttributesItIsTheMinimalForm)
{
    Metadata metadata;
    metadata.setFinderFlags(finderFlag::customIcon, true);
    metadata.resourceFork = fromText("fork");
    std::vector<std::byte> expected =
        fromHex("00051607 00020000 4d6163204f532058 2020202020202020 0002"
                "00000009 00000032 00000020 00000002 00000052 00000004"
                "0000000000000000 0400");
    expected.resize(82);
    for (const std::byte value : fromText("fork"))
        expected.push_back(value);
    EXPECT_EQ(writeAppleDouble(metadata), expected);
}

TEST(AppleDouble, WithAttributesItHasTheMacsUsualPlaces)
{
    Metadata metadata;
    metadata.attributes["com.apple.quarantine"] = fromText("q");
    const auto raw = writeAppleDouble(metadata);
    ASSERT_EQ(raw.size(), 4096u);
    const auto at = [&raw](std::size_t offset, std::size_t count) {
        return std::vector(raw.begin() + static_cast<std::ptrdiff_t>(offset),
            raw.begin() + static_cast<std::ptrdiff_t>(offset + count));
    };
    EXPECT_EQ(at(26, 24), fromHex("00000009 00000032 00000eb0 00000002 00000ee2 0000011e"));
    // Header at 84; one entry of 32 bytes at 120 whose value lies right behind it.
    EXPECT_EQ(at(84, 36),
        fromHex("41545452 00000000 00000ee2 00000098 00000001"
                "00000000 00000000 00000000 0000 0001"));
    EXPECT_EQ(at(120, 11), fromHex("00000098 00000001 0000 15"));
    EXPECT_EQ(at(131, 22), fromText(std::string("com.apple.quarantine") + '\0' + 'q'));
    EXPECT_EQ(readAppleDouble(raw), metadata) << "the filler fork is no fork";
}

TEST(AppleDouble, EverythingSurvivesARoundTrip)
{
    EXPECT_EQ(readAppleDouble(writeAppleDouble(everything())), everything());
    EXPECT_TRUE(readAppleDouble(writeAppleDouble({})).empty());
}

TEST(AppleDouble, NamesThatTheFormCannotHoldAreRefused)
{
    for (const std::string& name : {std::string(), std::string(255, 'n'), std::string("a\0b", 3)}) {
        Metadata metadata;
        metadata.attributes[name] = fromText("x");
        EXPECT_THROW(writeAppleDouble(metadata), bytes::FormatError) << name.size();
    }
}

TEST(AppleDouble, DamageEndsInAFormatErrorOrASoundParse)
{
    const auto raw = writeAppleDouble(everything());
    for (std::size_t length = 0; length < raw.size(); ++length)
        EXPECT_THROW(readAppleDouble(std::span(raw).first(length)), bytes::FormatError) << length;
    for (std::size_t at = 0; at < 300; ++at)
        for (const unsigned flip : {0x01u, 0x80u, 0xFFu}) {
            auto damaged = raw;
            damaged[at] ^= static_cast<std::byte>(flip);
            try {
                readAppleDouble(damaged);
            } catch (const bytes::FormatError&) { }
        }
}

} // namespace macfile
