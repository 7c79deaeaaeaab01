#include "finder/StoreChecker.h"

#include "Damage.h"
#include "Samples.h"
#include "finder/PropertyList.h"
#include "finder/StoreReader.h"
#include "finder/StoreWriter.h"

#include <gmock/gmock.h>

namespace finder {

namespace {

using testing::HasSubstr;

VolumeFacts demoFacts()
{
    return {.volumeName = "Demo",
        .rootNames = {u"Demo.app", u"Applications", u".background"},
        .hasFile = [](const std::string& path) { return path == "/.background/bg.png"; }};
}

DesktopStore demoStore()
{
    DesktopStore store;
    samples::demoStyle().applyTo(store);
    return store;
}

std::vector<std::string> messages(std::span<const std::byte> file, const VolumeFacts& facts)
{
    std::vector<std::string> found;
    for (const StoreFinding& finding : checkStore(file, facts))
        found.push_back(finding.message);
    return found;
}

std::vector<std::string> messages(const DesktopStore& store)
{
    return messages(writeStore(store), demoFacts());
}

/// The sample's store with one property list changed.
DesktopStore withProperties(FourCC code, const std::function<void(PropertyDictionary&)>& change)
{
    DesktopStore store = demoStore();
    auto dictionary = readPropertyList(store.find(u".", code)->bytes);
    change(dictionary);
    store.set(u".", code, StoreValue::blob(writePropertyList(dictionary)));
    return store;
}

DesktopStore withPicture(const AliasTarget& target)
{
    VolumeWindowStyle style = samples::demoStyle();
    style.setBackground(aliasTo(target));
    DesktopStore store;
    style.applyTo(store);
    return store;
}

DesktopStore withPlace(std::u16string_view name, const IconLocation& place)
{
    DesktopStore store = demoStore();
    store.set(name, "Iloc", StoreValue::blob(writeIconLocation(place)));
    return store;
}

} // namespace

TEST(StoreChecker, AStyledVolumeHasNothingToObjectTo)
{
    EXPECT_THAT(messages(demoStore()), testing::IsEmpty());
    EXPECT_THAT(messages(DesktopStore()), testing::IsEmpty()) << "nor has an empty store";
    DesktopStore parked = withPlace(u".background", {10'000, 10'000});
    parked.set(u".", "pBBk", StoreValue::blob(samples::demoBookmark()));
    EXPECT_THAT(messages(parked), testing::IsEmpty());
}

TEST(StoreChecker, EachFaultIsNamed)
{
    AliasTarget elsewhere = samples::demoPicture(), gone = samples::demoPicture();
    elsewhere.volumeName = "Developer";
    gone.path = "/.background/gone.png";
    DesktopStore damagedBookmark = demoStore(), notABlob = demoStore(), shortPlace = demoStore();
    damagedBookmark.set(u".", "pBBk", StoreValue::blob(samples::fromHex("626f6f6b")));
    notABlob.set(u".", "icvp", StoreValue::number(1));
    shortPlace.set(u"Demo.app", "Iloc", StoreValue::blob(samples::fromHex("0001")));

    struct Row {
        DesktopStore store;
        std::string message;
        bool damage = true;
    };
    const Row rows[] = {
        {withProperties(
             "bwsp", [](auto& list) { list["WindowBounds"] = std::vector<std::byte>(4); }),
            "WindowBounds has the wrong type"},
        {withProperties("bwsp", [](auto& list) { list["WindowBounds"] = std::string("{0, 0}"); }),
            "WindowBounds is not of the form"},
        {withProperties(
             "bwsp", [](auto& list) { list["WindowBounds"] = std::string("{{1, 1}, {0, 5}}"); }),
            "no inside"},
        {withProperties("bwsp", [](auto& list) { list.erase("WindowBounds"); }),
            "lacks WindowBounds"},
        {withProperties("icvp", [](auto& list) { list["iconSize"] = std::string("128"); }),
            "iconSize has the wrong type"},
        {withProperties("icvp", [](auto& list) { list["textSize"] = -1.0; }),
            "textSize is not positive"},
        {withProperties("icvp", [](auto& list) { list.erase("gridOffsetX"); }),
            "lacks gridOffsetX"},
        {withProperties("icvp", [](auto& list) { list.erase("backgroundImageAlias"); }),
            "no alias leads to it"},
        {withProperties(
             "icvp", [](auto& list) { list["backgroundImageAlias"] = std::vector<std::byte>(20); }),
            "the background's alias"},
        {withProperties("icvp", [](auto& list) { list["backgroundType"] = int64_t{3}; }),
            "no background is of the type 3"},
        {withPicture(elsewhere), "leads to the volume Developer", false},
        {withPicture(elsewhere), "leads to /Volumes/Developer", false},
        {withPicture(gone), "the background is missing: /.background/gone.png", false},
        {withPlace(u"Old.app", {10, 10}), "a place is kept for Old.app", false},
        {withPlace(u"Demo.app", {600, 100}), "Demo.app lies outside the window", false},
        {withPlace(u"demo.app", {100, -1}), "lies outside the window", false},
        {damagedBookmark, "the background's bookmark"},
        {notABlob, "the record is no blob"},
        {shortPlace, "the place of Demo.app"},
    };
    for (const Row& row : rows) {
        const auto found = checkStore(writeStore(row.store), demoFacts());
        EXPECT_THAT(found,
            testing::Contains(testing::AllOf(
                testing::Field("message", &StoreFinding::message, HasSubstr(row.message)),
                testing::Field("damage", &StoreFinding::damage, row.damage))));
    }
}

TEST(StoreChecker, BookkeepingIsLookedAt)
{
    struct Row {
        std::size_t at;
        std::string message;
    };
    const Row rows[] = {
        {0xC30, "used and free blocks"}, // a free list's entry
        {0x2B, "miscounts"}, // the number of records, low byte
        {0x1011, "out of order"}, // "a" becomes "q"
        {0, "bad prefix"},
    };
    // Room for the names to be disordered in: two records of one length.
    DesktopStore store;
    store.set(u"a", "Iloc", StoreValue::blob(std::vector<std::byte>(16)));
    store.set(u"b", "Iloc", StoreValue::blob(std::vector<std::byte>(16)));
    const VolumeFacts facts{.volumeName = "Demo", .rootNames = {u"a", u"b"}, .hasFile = {}};
    ASSERT_TRUE(checkStore(writeStore(store), facts).empty());
    for (const Row& row : rows) {
        auto raw = writeStore(store);
        raw[row.at] ^= std::byte{0x10};
        EXPECT_THAT(messages(raw, facts), testing::Contains(HasSubstr(row.message)));
    }
}

TEST(StoreChecker, DamageEndsInFindingsOrNone)
{
    DesktopStore store = demoStore();
    store.set(u".", "pBBk", StoreValue::blob(samples::demoBookmark()));
    const VolumeFacts facts = demoFacts();
    const auto raw = writeStore(store);
    std::size_t objections = 0;
    EXPECT_EQ(readDamaged(raw,
                  [&](std::span<const std::byte> damaged) {
                      objections += checkStore(damaged, facts).empty() ? 0 : 1;
                  }),
        0u)
        << "nothing is thrown";
    EXPECT_GT(objections, raw.size()) << "all truncations and more";
}

} // namespace finder
