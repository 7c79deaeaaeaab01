#include "finder/VolumeWindowStyle.h"

#include "Damage.h"
#include "Samples.h"
#include "finder/StoreReader.h"
#include "finder/StoreWriter.h"

#include <functional>

namespace finder {

namespace {

DesktopStore styled(const VolumeWindowStyle& style, DesktopStore store = {})
{
    style.applyTo(store);
    return store;
}

} // namespace

TEST(VolumeWindowStyle, AStyledVolumeHasTheKnownStore)
{
    const DesktopStore store = styled(samples::demoStyle());
    const auto* window = store.find(u".", "bwsp");
    const auto* icons = store.find(u".", "icvp");
    ASSERT_TRUE(window && icons);
    EXPECT_EQ(samples::toHex(window->bytes),
        "62706c6973743030d90102030405060708090a0b0c0d0e0f1011125f1014436f6e7461696e657253686f775369"
        "64656261725f10155072657669657750616e655669736962696c6974795b53686f77506174686261725b53686f"
        "77536964656261725d53686f775374617475734261725b53686f77546162566965775b53686f77546f6f6c6261"
        "725c5369646562617257696474685c57696e646f77426f756e64730808080808080810005f10187b7b3430302c"
        "203538307d2c207b3630302c203430307d7d081b324a5662707c8895a2a3a4a5a6a7a8a9ab0000000000000101"
        "0000000000000013000000000000000000000000000000c6");
    EXPECT_EQ(icons->bytes.size(), 827u);
    EXPECT_EQ(samples::sha256(icons->bytes),
        "b39ba3ebf3131db4e2f7da972b4711267a7ed77b41d0a04de601e976934fd014");
    const auto raw = writeStore(store);
    EXPECT_EQ(raw.size(), 8196u);
    EXPECT_EQ(
        samples::sha256(raw), "13da17b6488453d87780aa3162c4737a516fc146f3a15027249bd817cc403a4e");
}

TEST(VolumeWindowStyle, WhatIsWrittenIsReadBack)
{
    VolumeWindowStyle style = samples::demoStyle();
    style.icons.arrangeBy = "grid";
    style.window.showStatusBar = true;
    style.setPosition("caf\u00E9:menu", {-5, 70'000});
    EXPECT_TRUE(style.positions.contains(u"cafe\u0301/menu")) << "as the volume spells it";
    const auto read = VolumeWindowStyle::readFrom(readStore(writeStore(styled(style))));
    EXPECT_EQ(read, style);
    EXPECT_EQ(read.bounds(), (ScreenRectangle{400, 100, 1000, 500}));
    EXPECT_EQ(read.bounds(900).bottom, 320);
}

TEST(VolumeWindowStyle, AWindowThatAFinderMadeIsUnderstood)
{
    const auto settings = readWindowSettings(samples::fromHex(
        "62706c6973743030d6010203040506070707070b075d53686f775374617475734261725b53686f77546f6f6c62"
        "61725b53686f77546162566965775f1014436f6e7461696e657253686f77536964656261725c57696e646f7742"
        "6f756e64735b53686f7753696465626172080808085f10187b7b3430342c203239367d2c207b3534302c203536"
        "327d7d080815232f3b525f6b6c6d6e6f8a0000000000000101000000000000000d000000000000000000000000"
        "0000008b"));
    WindowSettings expected;
    expected.showToolbar = false;
    expected.frame = {404, 296, 540, 562};
    EXPECT_EQ(settings, expected);
}

TEST(VolumeWindowStyle, RecordsOfOthersStay)
{
    DesktopStore before;
    const auto place = StoreValue::blob(samples::fromHex("00000001 00000002 00000057ffff0000"));
    before.set(u"Demo.app", "cmmt", {"ustr", samples::fromHex("00480069")});
    before.set(u"Other", "Iloc", place);
    before.set(u"Other", "xxxx", StoreValue::blob(samples::fromHex("00ff")));
    before.set(u".", "fwi0", StoreValue::blob(std::vector<std::byte>(16)));
    before.set(u"folder", "pBBk", StoreValue::blob(samples::demoBookmark()));
    VolumeWindowStyle style = VolumeWindowStyle::readFrom(before);
    style.setPosition("Demo.app", {140, 178});
    const DesktopStore after = styled(style, before);
    for (const StoreRecord& record : before.records()) {
        const StoreValue* kept = after.find(record.name, record.code);
        ASSERT_TRUE(kept) << record.code.text();
        EXPECT_EQ(*kept, record.value) << record.code.text();
    }
    EXPECT_EQ(after.records().size(), before.records().size() + 5);
}

TEST(VolumeWindowStyle, AnotherBackgroundRemovesTheBookmark)
{
    struct Row {
        const char* what;
        std::function<void(VolumeWindowStyle&)> change;
        bool kept;
    };
    const Row rows[] = {
        {"only an icon was moved",
            [](auto& style) {
                style.setPosition("Demo.app", {1, 1});
            },
            true},
        {"the same picture again",
            [](auto& style) { style.setBackground(aliasTo(samples::demoPicture())); }, true},
        {"no picture", [](auto& style) { style.removeBackground(); }, false},
        {"another picture",
            [](auto& style) {
                AliasTarget other = samples::demoPicture();
                other.path = "/.background/other.png";
                style.setBackground(aliasTo(other));
            },
            false},
    };
    for (const Row& row : rows) {
        DesktopStore store = styled(samples::demoStyle());
        store.set(u".", "pBBk", StoreValue::blob(samples::fromHex("01")));
        store.set(u".", "pBB0", StoreValue::blob(samples::fromHex("02")));
        VolumeWindowStyle style = VolumeWindowStyle::readFrom(store);
        row.change(style);
        style.applyTo(store);
        EXPECT_EQ(store.find(u".", "pBBk") != nullptr, row.kept) << row.what;
        EXPECT_EQ(store.find(u".", "pBB0") != nullptr, row.kept) << row.what;
    }
}

TEST(VolumeWindowStyle, DamagedSettingsAreThoseOfANewWindow)
{
    DesktopStore store;
    for (const FourCC code : {FourCC("bwsp"), FourCC("icvp"), FourCC("vstl")})
        store.set(u".", code, StoreValue::blob(samples::fromHex("00")));
    store.set(u"Demo.app", "Iloc", StoreValue::blob(samples::fromHex("00")));
    EXPECT_EQ(VolumeWindowStyle::readFrom(store), VolumeWindowStyle{});
}

TEST(WindowSettings, FramesAreReadStrictlyAndWrittenShort)
{
    EXPECT_EQ(frameText({400, -580.5, 100000, 1e21}),
        "{{400, -580.5}, {100000, 1000000000000000000000}}");
    EXPECT_EQ(frameFromText("{{-1.5, 2}, {3, 4}}"), (WindowFrame{-1.5, 2, 3, 4}));
    for (const char* text : {"", "{{1, 2}, {3, 4}", "{{1, 2}, {3, 4}}x", "{{1,2}, {3, 4}}",
             "{{nan, 2}, {3, 4}}", "{{1, 2}, {inf, 4}}", "{{, 2}, {3, 4}}"})
        EXPECT_THROW(frameFromText(text), bytes::FormatError) << text;
}

TEST(VolumeWindowStyle, BoundsWithoutAnInsideAreRefused)
{
    VolumeWindowStyle style;
    EXPECT_THROW(style.setBounds({400, 100, 400, 500}), bytes::FormatError);
    EXPECT_THROW(style.setBounds({400, 500, 1000, 100}), bytes::FormatError);
}

TEST(VolumeWindowStyle, DamagedBlobsEndInAFormatErrorOrASoundParse)
{
    const DesktopStore store = styled(samples::demoStyle());
    EXPECT_GT(readDamaged(store.find(u".", "bwsp")->bytes, readWindowSettings), 0u);
    EXPECT_GT(readDamaged(store.find(u".", "icvp")->bytes, readIconViewSettings), 0u);
}

} // namespace finder
