#include "bytes/Unicode.h"

#include <gtest/gtest.h>

namespace {

using namespace bytes;

TEST(Unicode, RoundTripsEveryPlane)
{
    for (const std::string text :
        {"", "plain", "é", "日本語", "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF"}) {
        const auto units = utf16FromUtf8(text);
        ASSERT_TRUE(units) << text;
        EXPECT_EQ(utf8FromUtf16(*units), text);
    }
    EXPECT_EQ(utf16FromUtf8("\xF0\x9F\x98\x80"), u"\xD83D\xDE00");
}

TEST(Unicode, RefusesWhatIsNotUtf8)
{
    struct Row {
        const char* name;
        std::string text;
    };
    const Row rows[] = {
        {"an overlong slash", "\xC0\xAF"},
        {"an overlong three-byte form", "\xE0\x80\xAF"},
        {"a surrogate", "\xED\xA0\x80"},
        {"beyond the last code point", "\xF4\x90\x80\x80"},
        {"a lone continuation", "\x80"},
        {"a sequence cut short", "ab\xE3\x81"},
        {"a lead byte followed by ASCII", "\xC3x"},
    };
    for (const Row& row : rows)
        EXPECT_FALSE(utf16FromUtf8(row.text)) << row.name;
}

TEST(Unicode, LoneSurrogatesBecomeReplacementCharacters)
{
    const std::u16string lone{u'a', char16_t(0xD800), u'b', char16_t(0xDC00)};
    EXPECT_EQ(utf8FromUtf16(lone),
        "a\xEF\xBF\xBD"
        "b\xEF\xBF\xBD");
}

} // namespace
