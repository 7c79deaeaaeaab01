#include "finder/StoreChecker.h"

#include "Damage.h"
#include "Samples.h"
#include "finder/PropertyList.h"
#include "finder/StoreReader.h"
#include "finder/StoreWriter.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace finder {

namespace {

using testing::HasSubstr;

VolumeFacts demoFacts()
{
    return {.volumeName = "Demo",
        .rootNames = {u"Demo.app", u"Applications", u".background"},
        .fileAt =
            [](const std::string& path) {
                return path == "/.background/bg.png" ? samples::demoPicture().id : std::nullopt;
            },
        .created = samples::demoPicture().volumeCreated};
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
    AliasTarget elsewhere = samples::demoPicture(), gone = elsewhere, other = elsewhere;
    elsewhere.volumeName = "Developer";
    elsewhere.volumeCreated += 1;
    gone.path = "/.background/gone.png";
    other.id = 0x14;
    DesktopStore damagedBookmark = demoStore(), notABlob = demoStore(), shortPlace = demoStore();
    DesktopStore lostBookmark = demoStore(), nested = demoStore();
    auto bookmark = samples::demoBookmark();
    const std::string name = "bg.png";
    const auto place = std::ranges::search(bookmark, std::as_bytes(std::span(name)));
    ASSERT_FALSE(place.empty());
    *place.begin() = std::byte{'B'}, *(place.begin() + 1) = std::byte{'x'};
    lostBookmark.set(u".", "pBBk", StoreValue::blob(bookmark));
    nested.set(u".", "bwsp", // {"WindowBounds": {}}
        StoreValue::blob(
            samples::fromHex("62706c6973743030d101025c57696e646f77426f756e6473d0080b1800000000"
                             "00000101000000000000000300000000000000000000000000000019")));
    damagedBookmark.set(u".", "pBBk", StoreValue::blob(samples::fromHex("626f6f6b")));
    notABlob.set(u".", "icvp", StoreValue::number(1));
    shortPlace.set(u"Demo.app", "Iloc", StoreValue::blob(samples::fromHex("0001")));

    struct Row {
        DesktopStore store;
        std::string message;
        bool damage = true;
    };
    const Row rows[] = {
        {withProperties("bwsp", [](auto& list) { list["WindowBounds"] = std::string("{0, 0}"); }),
            "WindowBounds is not of the form"},
        {withProperties(
             "bwsp", [](auto& list) { list["WindowBounds"] = std::string("{{1, 1}, {0, 5}}"); }),
            "no inside"},
        {withProperties("icvp", [](auto& list) { list["textSize"] = -1.0; }),
            "textSize is not positive"},
        {withProperties("icvp", [](auto& list) { list.erase("backgroundImageAlias"); }),
            "no alias leads to it"},
        {withProperties(
             "icvp", [](auto& list) { list["backgroundImageAlias"] = std::vector<std::byte>(20); }),
            "the background's alias"},
        {withProperties("icvp", [](auto& list) { list["backgroundType"] = int64_t{3}; }),
            "no background is of the type 3"},
        {withPicture(elsewhere), "leads to the volume Developer", false},
        {withPicture(elsewhere), "leads to /Volumes/Developer", false},
        {withPicture(elsewhere), "leads to a volume of another date", false},
        {withPicture(other), "leads to file 20, which is now file 19", false},
        {lostBookmark, "the background is missing: /.background/Bx.png", false},
        {withPlace(u".background", {20, 20}), "the hidden item .background", false},
        {nested, "bwsp: WindowBounds has the wrong type"},
        {withPicture(gone), "the background is missing: /.background/gone.png", false},
        {withPlace(u"Old.app", {10, 10}), "a place is kept for Old.app", false},
        {withPlace(u"Demo.app", {600, 100}), "Demo.app lies outside the window", false},
        {withPlace(u"demo.app", {100, -1}), "lies outside the window", false},
        {damagedBookmark, "the background's bookmark"},
        {notABlob, "the record icvp of . has the type long instead of blob"},
        {shortPlace, "the record Iloc of Demo.app has 2 bytes instead of 16"},
    };
    for (const Row& row : rows) {
        const auto found = checkStore(writeStore(row.store), demoFacts());
        EXPECT_THAT(found,
            testing::Contains(testing::AllOf(
                testing::Field("message", &StoreFinding::message, HasSubstr(row.message)),
                testing::Field("damage", &StoreFinding::damage, row.damage))));
    }
}

TEST(StoreChecker, EachSettingIsOfItsTypeAndThere)
{
    const auto objects = [](FourCC code, const std::string& key, bool missing) {
        const auto store = withProperties(code, [&](PropertyDictionary& list) {
            const bool isData = std::holds_alternative<std::vector<std::byte>>(list.at(key));
            if (missing)
                list.erase(key);
            else if (isData)
                list[key] = int64_t{1};
            else
                list[key] = std::vector<std::byte>(8);
        });
        const auto found = messages(store);
        return std::ranges::any_of(found, [&](const std::string& message) {
            return message.starts_with(code.text())
                && message.ends_with(missing ? " lacks " + key : key + " has the wrong type");
        });
    };
    for (const FourCC code : {FourCC("bwsp"), FourCC("icvp")})
        for (const auto& [key, value] : readPropertyList(demoStore().find(u".", code)->bytes)) {
            EXPECT_TRUE(objects(code, key, false)) << code.text() << ' ' << key;
            const bool optional = key.starts_with("Show") || key.starts_with("Container")
                || key.starts_with("Preview") || key == "SidebarWidth"
                || key == "backgroundImageAlias" || key.starts_with("scrollPosition");
            EXPECT_TRUE(optional || objects(code, key, true)) << code.text() << ' ' << key;
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
    const VolumeFacts facts{.volumeName = "Demo", .rootNames = {u"a", u"b"}, .fileAt = {}};
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
    constexpr std::size_t step = 7;
    EXPECT_EQ(readDamaged(
                  raw,
                  [&](std::span<const std::byte> damaged) {
                      objections += checkStore(damaged, facts).empty() ? 0 : 1;
                  },
                  step),
        0u)
        << "nothing is thrown";
    EXPECT_GT(objections, raw.size() / step) << "all truncations and more";
}

} // namespace finder
