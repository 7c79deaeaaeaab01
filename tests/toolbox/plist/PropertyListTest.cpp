#include "plist/PropertyList.h"
#include "bytes/FormatError.h"

#include <gtest/gtest.h>

namespace {

using namespace plist;
using bytes::FormatError;

std::span<const std::byte> asBytes(std::string_view text)
{
    return std::as_bytes(std::span(text.data(), text.size()));
}

TEST(PropertyList, WritesTheFormThatSignaturesHash)
{
    const Value value = Dictionary{
        {"files2",
            Dictionary{{"Resources/a & <b>.txt",
                Dictionary{{"hash2", Data(32, std::byte{0xAB})}, {"optional", true}}}}},
        {"rules", Dictionary{}},
        {"weight", 1000.0},
    };
    EXPECT_EQ(writeXml(value),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
        "<plist version=\"1.0\">\n"
        "<dict>\n"
        "\t<key>files2</key>\n"
        "\t<dict>\n"
        "\t\t<key>Resources/a &amp; &lt;b&gt;.txt</key>\n"
        "\t\t<dict>\n"
        "\t\t\t<key>hash2</key>\n"
        "\t\t\t<data>\n"
        "\t\t\tq6urq6urq6urq6urq6urq6urq6urq6urq6urq6urq6s=\n"
        "\t\t\t</data>\n"
        "\t\t\t<key>optional</key>\n"
        "\t\t\t<true/>\n"
        "\t\t</dict>\n"
        "\t</dict>\n"
        "\t<key>rules</key>\n"
        "\t<dict/>\n"
        "\t<key>weight</key>\n"
        "\t<real>1000</real>\n"
        "</dict>\n"
        "</plist>\n");
}

TEST(PropertyList, ReadsWhatItWroteInEveryKind)
{
    const Value value = Dictionary{
        {"yes", true},
        {"number", int64_t{-42}},
        {"real", 0.1},
        {"text", "été 日本 <&>"},
        {"data", Data(200, std::byte{7})},
        {"date", Date{700000000}},
        {"list", Array{int64_t{1}, "two", Array{}}},
    };
    EXPECT_EQ(read(asBytes(writeXml(value))), value);
}

TEST(PropertyList, SortsKeysByUtf16Unit)
{
    // U+FF21 is one unit; U+1F600 is two that begin with 0xD83D.
    const std::string xml =
        writeXml(Dictionary{{"\xEF\xBC\xA1", true}, {"\xF0\x9F\x98\x80", true}});
    EXPECT_LT(xml.find("\xF0\x9F\x98\x80"), xml.find("\xEF\xBC\xA1"));
}

TEST(PropertyList, RefusesWhatIsNone)
{
    EXPECT_THROW(read({}), FormatError);
    EXPECT_THROW(read(asBytes("hello")), FormatError);
    EXPECT_THROW(read(asBytes("bplist00 and then nothing of the kind")), FormatError);

    std::string deep = "<plist version=\"1.0\">";
    for (int i = 0; i < 200000; ++i)
        deep += "<array>";
    EXPECT_THROW(read(asBytes(deep)), FormatError);

    const std::string good = writeXml(Dictionary{{"a", Array{"b", Dictionary{{"c", 1.5}}}}});
    for (std::size_t length = 0; length < good.size(); ++length) {
        try {
            read(asBytes(std::string_view(good).substr(0, length)));
        } catch (const FormatError&) { }
    }
}

} // namespace
