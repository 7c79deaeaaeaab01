#include "finder/PropertyList.h"

#include "Damage.h"
#include "Samples.h"

#include <limits>

namespace finder {

namespace {

PropertyDictionary allKinds()
{
    return {
        {"data", std::vector<std::byte>(300, std::byte{1})},
        {"false", false},
        {"largest", std::numeric_limits<int64_t>::max()},
        {"long text", std::string(70'000, 'x')},
        {"negative", int64_t{-2}},
        {"real", 0.1},
        {"small", int64_t{255}},
        {"text", std::string("caf\u00E9 \U0001F600")},
        {"true", true},
        {"word", int64_t{256}},
    };
}

} // namespace

TEST(PropertyList, AllKindsSurviveARoundTrip)
{
    EXPECT_EQ(readPropertyList(writePropertyList(allKinds())), allKinds());
    EXPECT_EQ(readPropertyList(writePropertyList({})), PropertyDictionary{});
    PropertyDictionary many;
    for (int i = 0; i < 400; ++i)
        many["key " + std::to_string(i)] = int64_t{i};
    EXPECT_EQ(readPropertyList(writePropertyList(many)), many) << "references of two bytes";
}

TEST(PropertyList, SharedValuesAndShortRealsAreRead)
{
    // { a = 0.5 (4 bytes); b = true; c = true (the same object); d = () }
    const auto raw = samples::fromHex("62706c6973743030 d4 01020304 05060607"
                                      "5161 5162 5163 5164 223f000000 09 a0"
                                      "08 11 13 15 17 19 1e 1f"
                                      "000000000000 01 01 0000000000000008 0000000000000000"
                                      "0000000000000020");
    const PropertyDictionary expected{{"a", 0.5}, {"b", true}, {"c", true}, {"d", PropertyValue()}};
    EXPECT_EQ(readPropertyList(raw), expected);
}

TEST(PropertyList, WhatCannotBeWrittenIsRefused)
{
    EXPECT_THROW(writePropertyList({{"kind", PropertyValue()}}), bytes::FormatError);
    EXPECT_THROW(writePropertyList({{"text", std::string("\xFF")}}), bytes::FormatError);
}

TEST(PropertyList, ManyReferencesToOneLargeValueAreRefused)
{
    PropertyDictionary list{{"0", std::vector<std::byte>(60'000)}};
    for (int i = 1; i < 120; ++i)
        list[std::to_string(i)] = true;
    auto raw = writePropertyList(list);
    // Every value becomes the first: the references follow those of 120 keys.
    const auto references = raw.begin() + 8 + 3 + 120;
    std::fill(references, references + 120, *references);
    EXPECT_THROW(readPropertyList(raw), bytes::FormatError);
}

TEST(PropertyList, DamageEndsInAFormatErrorOrASoundParse)
{
    PropertyDictionary small = allKinds();
    small.erase("long text");
    EXPECT_GT(readDamaged(writePropertyList(small), readPropertyList), 0u);
}

} // namespace finder
