#include "finder/Bookmark.h"

#include "Damage.h"
#include "Samples.h"

namespace finder {

TEST(Bookmark, ThePathIsRead)
{
    const Bookmark bookmark = readBookmark(samples::demoBookmark());
    const std::vector<std::string> path{"Volumes", "Demo", ".background", "bg.png"};
    EXPECT_EQ(bookmark.path, path);
    EXPECT_EQ(bookmark.volumeName, "Demo");
    EXPECT_EQ(bookmark.volumePath, "/Volumes/Demo");
}

TEST(Bookmark, PartsAreJoinedAndGoTogether)
{
    const auto raw = samples::demoBookmark();
    DesktopStore store;
    store.set(u".", "pBB0", StoreValue::blob(std::span(raw).subspan(100)));
    EXPECT_TRUE(backgroundBookmark(store, u".").empty()) << "a continuation of nothing";
    store.set(u".", "pBBk", StoreValue::blob(std::span(raw).first(100)));
    store.set(u"folder", "pBBk", StoreValue::blob(raw));
    EXPECT_EQ(backgroundBookmark(store, u"."), raw);
    removeBackgroundBookmark(store, u".");
    EXPECT_EQ(store.records().size(), 1u) << "another folder's stays";
}

TEST(Bookmark, DamageEndsInAFormatErrorOrASoundParse)
{
    const auto raw = samples::demoBookmark();
    EXPECT_GE(readDamaged(raw, readBookmark), raw.size()) << "every truncation at least";
}

} // namespace finder
