#include "assets/AssetLibraryManager.h"

#include "Scratch.h"
#include "platform/Bookmarks.h"
#include "platform/UserDefaults.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// Bookmarks of which a test says that some are stale.
class AgeingBookmarks : public HostBookmarks {
public:
    Resolved resolve(const QByteArray& bookmark) override
    {
        Resolved resolved = HostBookmarks::resolve(bookmark);
        resolved.isStale = resolved.isStale || stale.contains(resolved.location);
        return resolved;
    }

    QList<QUrl> stale;
};

class AssetLibrary : public testing::Test {
public:
    QUrl picture(const QString& relative) const
    {
        return QUrl::fromLocalFile(scratch.write(relative, "picture"));
    }
    static QStringList names(const QList<QUrl>& pictures)
    {
        QStringList names;
        for (const QUrl& each : pictures)
            names.append(each.fileName());
        return names;
    }
    QStringList kept()
    {
        AssetLibraryManager other({defaults, bookmarks, resources});
        other.loadRecents();
        return names(other.recents());
    }

    Scratch scratch;
    UserDefaults defaults{scratch.path(u"app.plist"_s)};
    AgeingBookmarks bookmarks;
    ApplicationResources resources{scratch.path(u"resources"_s)};
    AssetLibraryManager library{{defaults, bookmarks, resources}};
};

} // namespace

TEST_F(AssetLibrary, PresetsAreThePicturesThatComeWithTheProgram)
{
    struct Row {
        const char* what;
        QStringList files;
        QStringList presets;
    };
    const Row rows[] = {
        {"by name over all extensions, without the icon",
            {u"Presets/Nebula.png"_s, u"Presets/AppIcon.png"_s, u"Presets/Aurora.jpg"_s,
                u"Presets/read me.txt"_s},
            {u"Aurora.jpg"_s, u"Nebula.png"_s}},
        {"the second folder when there is no first one",
            {u"Resources/Presets/b.jpeg"_s, u"Resources/Presets/a.png"_s},
            {u"a.png"_s, u"b.jpeg"_s}},
        {"beside a picture that is known to come with it, whatever the letters' case",
            {u"flux.png"_s, u"Zebra.JPG"_s, u"myAppIcon.png"_s}, {u"Zebra.JPG"_s, u"flux.png"_s}},
        {"none", {u"unknown.png"_s}, {}},
    };
    for (const Row& row : rows) {
        const Scratch folder;
        for (const QString& file : row.files)
            folder.write(file, "picture");
        AssetLibraryManager each({defaults, bookmarks, ApplicationResources(folder.path())});
        each.loadPresets();
        EXPECT_EQ(names(each.presets()), row.presets) << row.what;
    }
}

TEST_F(AssetLibrary, ListsAreReadOnceAndAFolderAddsOnlyWhatIsNew)
{
    picture(u"resources/Presets/a.png"_s);
    const QUrl mine = picture(u"mine.png"_s);
    library.loadPresets();
    AssetLibraryManager other({defaults, bookmarks, resources});
    other.addToRecents(mine);
    library.loadPresets();
    EXPECT_EQ(library.recents(), QList<QUrl>());

    picture(u"resources/Presets/0.png"_s);
    library.loadPresets(QUrl::fromLocalFile(scratch.path(u"resources/Presets"_s)));
    library.loadPresets(QUrl::fromLocalFile(scratch.path(u"resources/none"_s)));
    EXPECT_EQ(names(library.presets()), (QStringList{u"0.png"_s, u"a.png"_s}));
}

TEST_F(AssetLibrary, RecentsAreTheLastTenChosenAndOutliveTheProgram)
{
    const QUrl preset = picture(u"resources/Presets/a.png"_s);
    library.loadPresets();
    library.addToRecents(preset);
    library.addToRecents(picture(u"other/Resources/Presets/b.png"_s));
    EXPECT_EQ(library.recents(), QList<QUrl>());

    int changes = 0;
    QObject::connect(
        &library, &AssetLibraryManager::recentsChanged, &library, [&changes] { ++changes; });
    QStringList wanted;
    for (int i = 0; i < 11; ++i) {
        const QString name = u"it's “%1” é.png"_s.arg(i);
        library.addToRecents(picture(name));
        wanted.prepend(name);
    }
    wanted.removeLast();
    EXPECT_EQ(names(library.recents()), wanted);
    EXPECT_EQ(kept(), wanted);
    EXPECT_EQ(changes, 11);

    wanted.move(9, 0);
    library.addToRecents(picture(wanted.front()));
    EXPECT_EQ(kept(), wanted);
    library.removeFromRecents(picture(wanted.takeAt(3)));
    EXPECT_EQ(names(library.recents()), wanted);
    EXPECT_EQ(kept(), wanted);
}

TEST_F(AssetLibrary, WhatCannotBeFoundAgainIsLeftOutAndGoesWithTheNextSave)
{
    for (const QString& name : {u"gone.png"_s, u"stale.png"_s, u"good.png"_s})
        library.addToRecents(picture(name));
    bookmarks.stale = {picture(u"stale.png"_s)};
    QFile::remove(scratch.path(u"gone.png"_s));

    library.loadRecents();
    EXPECT_EQ(names(library.recents()), QStringList{u"good.png"_s});
    bookmarks.stale.clear();
    EXPECT_EQ(kept(), (QStringList{u"good.png"_s, u"stale.png"_s}));
    library.saveRecents();
    EXPECT_EQ(kept(), QStringList{u"good.png"_s});

    defaults.set(AssetLibraryManager::kRecentsKey, QVariantList{u"not data"_s});
    library.loadRecents();
    EXPECT_EQ(names(library.recents()), QStringList{u"good.png"_s});
}
