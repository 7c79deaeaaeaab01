#include "hfsplus/Names.h"

#include "bytes/ByteWriter.h"
#include "bytes/Crc32.h"
#include "bytes/Unicode.h"
#include "hfsplus/NameTables.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <system_error>

using namespace hfsplus;

namespace {

std::u16string u16(std::string_view text)
{
    return *bytes::utf16FromUtf8(text);
}

} // namespace

TEST(Names, DecompositionIsTheOneTheFormatFroze)
{
    bytes::ByteWriter rows;
    for (unsigned code = 0; code <= 0xFFFF; ++code) {
        const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
        const bool isSyllable = code >= 0xAC00 && code <= 0xD7A3;
        const std::u16string unit(1, static_cast<char16_t>(code));
        const std::u16string parts = decomposed(unit);
        if (isSurrogate || isSyllable || parts == unit)
            continue;
        rows.u16(static_cast<uint16_t>(code));
        rows.u8(static_cast<uint8_t>(parts.size()));
        rows.utf16(parts);
    }
    EXPECT_EQ(rows.size(), 7356U);
    EXPECT_EQ(bytes::crc32(rows.bytes()), 0xF6B9A80DU);
}

TEST(Names, FoldingIsTheOneTheFormatFroze)
{
    bytes::ByteWriter values;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit)
        values.u16(folded(static_cast<char16_t>(unit)));
    EXPECT_EQ(bytes::crc32(values.bytes()), 0x46291121U);
}

TEST(Names, DecomposeIntoOrderedParts)
{
    const struct {
        const char* what;
        std::u16string_view name, parts;
    } rows[] = {
        {"plain", u"plain", u"plain"},
        {"an accent", u"\u00E9", u"e\u0301"},
        {"a mark that is two marks", u"\u0344", u"\u0308\u0301"},
        {"a letter in two steps", u"\u1E9B", u"\u017F\u0307"},
        {"a Hangul syllable with a tail", u"\uAC01", u"\u1100\u1161\u11A8"},
        {"the last Hangul syllable", u"\uD7A3", u"\u1112\u1175\u11C2"},
        {"a Hebrew ligature", u"\uFB1D", u"\u05D9\u05B4"},
        {"symbols stay", u"\u212B\u2126\uF900", u"\u212B\u2126\uF900"},
        {"letters that came later stay", u"\u1B06", u"\u1B06"},
        {"emoji stay", u"\U0001F600", u"\U0001F600"},
        {"marks change places by class", u"a\u0301\u0323", u"a\u0323\u0301"},
        {"marks of one class keep theirs", u"a\u0301\u0300", u"a\u0301\u0300"},
        {"a letter ends a run of marks", u"a\u0301b\u0323", u"a\u0301b\u0323"},
        {"a mark behind a composed letter", u"\u00E9\u0323", u"e\u0323\u0301"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(decomposed(row.name), row.parts) << row.what;
        EXPECT_EQ(decomposed(composed(row.parts)), row.parts) << row.what << ", and back";
    }
}

TEST(Names, ComposeAsPeopleTypeThem)
{
    for (const char* text : {"plain", "Café", "Ǖber", "ệ", "한국어 각", "Ångström", "й", "が", "ΐ"})
        EXPECT_EQ(bytes::utf8FromUtf16(composed(decomposed(u16(text)))), text);
    // What Unicode excludes from composition stays in parts.
    EXPECT_EQ(composed(u"\u05D9\u05B4"), u"\u05D9\u05B4");
    EXPECT_EQ(composed(u"\u0308\u0301"), u"\u0308\u0301");
}

TEST(Names, EveryStoredUnitSurvivesComposition)
{
    for (unsigned code = 1; code <= 0xFFFF; ++code) {
        if (code >= 0xD800 && code <= 0xDFFF)
            continue;
        const std::u16string stored = decomposed(std::u16string(1, static_cast<char16_t>(code)));
        ASSERT_EQ(decomposed(composed(stored)), stored) << std::hex << code;
    }
}

TEST(Names, AscendAsTheCatalogHasThem)
{
    const std::u16string ascending[] = {u"", u".DS_Store", u".fseventsd",
        u".HFS+ Private Directory Data\r", u".journal", u"a_b", u"aB", u"ABc", u"Z", u"\u00E6",
        std::u16string(u"\0\0\0\0HFS+ Private Data", 21)};
    for (std::size_t i = 0; i < std::size(ascending); ++i) {
        for (std::size_t k = 0; k < std::size(ascending); ++k) {
            EXPECT_EQ(compareNames(ascending[i], ascending[k]), i <=> k) << i << " and " << k;
        }
    }
    EXPECT_TRUE(compareCatalogKeys(17, u"z", 18, u"a") < 0);
}

TEST(Names, SomeAreOneToAVolume)
{
    const struct {
        std::u16string_view a, b;
    } rows[] = {
        {u"README", u"readme"},
        {u"\u00C6", u"\u00E6"},
        {u"\u0416", u"\u0436"},
        {u"a\u200Db", u"ab"}, // a joiner doesn't count
        {u"a\uFEFF", u"a"},
    };
    for (const auto& row : rows)
        EXPECT_TRUE(compareNames(row.a, row.b) == 0) << bytes::utf8FromUtf16(row.a);
}

TEST(Names, CrossFromHostToVolumeAndBack)
{
    const struct {
        const char* host;
        std::u16string stored;
        const char* back;
    } rows[] = {
        {"a:b", u"a/b", "a:b"},
        {"Caf\xC3\xA9", u"Cafe\u0301", "Caf\xC3\xA9"},
        {"Cafe\xCC\x81", u"Cafe\u0301", "Caf\xC3\xA9"},
        {"\xE2\x90\x80x", std::u16string(u"\0x", 2), "\xE2\x90\x80x"},
        {"Caf\xE9", u"Caf%E9", "Caf%E9"}, // Latin-1
        {"\xC3\xA9\xFF\x80z", u"e\u0301%FF%80z", "\xC3\xA9%FF%80z"},
        {"cut \xF0\x9F\x98", u"cut %F0%9F%98", "cut %F0%9F%98"},
        {"Icon\r", u"Icon\r", "Icon\r"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(nameFromHost(row.host), row.stored) << row.host;
        EXPECT_EQ(hostFromName(row.stored), row.back) << row.host;
    }
    EXPECT_EQ(nameFromVolumeName("7/8: done"), u"7/8/ done");
    EXPECT_EQ(volumeNameFromName(u"7/8"), "7/8");
}

TEST(Names, ThatAVolumeCannotHoldAreRefused)
{
    std::string accents; // 128 letters of two units each
    for (int i = 0; i < 128; ++i)
        accents += "\xC3\xA9";
    const struct {
        std::string name;
        int error;
    } rows[] = {
        {"", EINVAL},
        {".", EINVAL},
        {"..", EINVAL},
        {"a/b", EINVAL},
        {std::string("a\0b", 3), EINVAL},
        {std::string(256, 'a'), ENAMETOOLONG},
        {accents, ENAMETOOLONG},
    };
    for (const auto& row : rows) {
        try {
            nameFromHost(row.name);
            ADD_FAILURE() << "accepted: " << row.name;
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code().value(), row.error) << row.name;
        }
    }
    EXPECT_EQ(nameFromHost(std::string(255, 'a')).size(), 255U);
}
