#include "model/SettingsManager.h"

#include "platform/PropertyList.h"
#include "platform/UserDefaults.h"

#include <QFile>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// A preference as the outside knows it: the property, its key on disk, what a fresh account
/// reads, and another value.
struct Row {
    const char* property;
    QString key;
    QVariant standard;
    QVariant other;
};

const Row rows[] = {
    {"defaultOutputDirectory", u"default_output_dir"_s, u""_s, u"~/Desktop"_s},
    {"skipAppValidation", u"skip_app_validation"_s, false, true},
    {"namingTemplate", u"naming_template"_s, u"${APP_NAME}_${VERSION}.dmg"_s, u"${DATE}"_s},
    {"defaultCompression", u"default_compression"_s, u"UDZO"_s, u"no such format"_s},
    {"defaultWindowWidth", u"default_window_width"_s, 600.0, 640.7},
    {"defaultWindowHeight", u"default_window_height"_s, 400.0, -1.5},
    {"totalBuilds", u"total_builds_count"_s, qint64(0), qint64(1) << 40},
    {"notaryAppleID", u"notary_apple_id"_s, u""_s, u"me@example.com"_s},
    {"notaryTeamID", u"notary_team_id"_s, u""_s, u"ABCDE12345"_s},
    {"notaryProfileName", u"notary_profile_name"_s, u"VandorDMG-Profile"_s, u"other"_s},
};

class Settings : public testing::Test {
public:
    QVariantMap onDisk() const
    {
        QFile in(file);
        return in.open(QIODevice::ReadOnly) ? PropertyList::parse(in.readAll()).value()
                                            : QVariantMap();
    }

    QTemporaryDir folder;
    QString file = folder.filePath(u"app.plist"_s);
    UserDefaults defaults{file};
    SettingsManager settings{defaults};
};

class Counter : public QObject {
    Q_OBJECT
public:
    int count = 0;
public slots:
    void countOne() { ++count; }
};

} // namespace

TEST_F(Settings, AFreshAccountReadsDefaultsAndWritesNothing)
{
    for (const Row& row : rows)
        EXPECT_EQ(settings.property(row.property), row.standard) << row.property;
    EXPECT_EQ(settings.activeSection(), SettingsSection::signing);
    EXPECT_FALSE(QFile::exists(file));
}

TEST_F(Settings, AssignmentsAreOnDiskAtOnceUnderTheirKeysAndTypes)
{
    QVariantMap expected;
    for (const Row& row : rows) {
        EXPECT_TRUE(settings.setProperty(row.property, row.other));
        expected.insert(row.key, row.other);
        EXPECT_EQ(onDisk(), expected) << row.property;
        EXPECT_EQ(onDisk().value(row.key).typeId(), row.other.typeId()) << row.property;
    }
    UserDefaults restarted(file);
    const SettingsManager again(restarted);
    for (const Row& row : rows)
        EXPECT_EQ(again.property(row.property), row.other) << row.property;
}

TEST_F(Settings, AssigningTheDefaultWritesTheKey)
{
    for (const Row& row : rows) {
        EXPECT_TRUE(settings.setProperty(row.property, row.standard));
        EXPECT_EQ(onDisk().value(row.key), row.standard) << row.property;
        EXPECT_EQ(settings.property(row.property), row.standard) << row.property;
    }
}

TEST_F(Settings, EachPropertyAnnouncesItsOwnChangesAndNoOthers)
{
    for (const Row& row : rows) {
        Counter own;
        Counter all;
        const QMetaObject* meta = settings.metaObject();
        const QMetaMethod slot =
            own.metaObject()->method(own.metaObject()->indexOfSlot("countOne()"));
        for (int index = meta->propertyOffset(); index < meta->propertyCount(); ++index) {
            const QMetaProperty property = meta->property(index);
            ASSERT_TRUE(property.hasNotifySignal()) << property.name();
            QObject::connect(&settings, property.notifySignal(), &all, slot);
            if (qstrcmp(property.name(), row.property) == 0)
                QObject::connect(&settings, property.notifySignal(), &own, slot);
        }
        settings.setProperty(row.property, row.standard);
        EXPECT_EQ(own.count, 0) << row.property << ": nothing reads differently";
        settings.setProperty(row.property, row.other);
        settings.setProperty(row.property, row.other);
        EXPECT_EQ(own.count, 1) << row.property;
        EXPECT_EQ(all.count, 1) << row.property;
    }
}

TEST_F(Settings, AValueOfAnotherTypeReadsAsTheDefault)
{
    defaults.set(u"default_window_width"_s, u"wide"_s);
    defaults.set(u"naming_template"_s, true);
    EXPECT_EQ(settings.defaultWindowWidth(), 600.0);
    EXPECT_EQ(settings.namingTemplate(), u"${APP_NAME}_${VERSION}.dmg"_s);
}

TEST_F(Settings, OpeningAPageRunsTheLatestActionOrAsksForTheWindow)
{
    QStringList events;
    QObject::connect(&settings, &SettingsManager::showSettingsWindow, &settings,
        [&] { events << u"asked for "_s + rawValue(*settings.activeSection()); });
    QObject::connect(&settings, &SettingsManager::activeSectionChanged, &settings,
        [&] { events << u"changed"_s; });

    settings.openSettings(SettingsSection::about);
    settings.setOpenSettingsAction([&] { events << u"an earlier action"_s; });
    settings.setOpenSettingsAction(
        [&] { events << u"action for "_s + rawValue(*settings.activeSection()); });
    settings.openSettings(SettingsSection::about);
    settings.openSettings(SettingsSection::build);
    settings.setOpenSettingsAction({});
    settings.openSettings(SettingsSection::build);

    EXPECT_EQ(events,
        QStringList({u"changed"_s, u"asked for About"_s, u"action for About"_s, u"changed"_s,
            u"action for Build"_s, u"asked for Build"_s}));
    settings.setActiveSection(std::nullopt);
    EXPECT_FALSE(settings.activeSection());
}

TEST(SettingsSection, TitlesLeadThereAndBackInTheWindowsOrder)
{
    QStringList titles;
    for (const SettingsSection section : allSettingsSections) {
        titles << rawValue(section);
        EXPECT_EQ(settingsSectionFromRawValue(rawValue(section)), section);
    }
    EXPECT_EQ(titles,
        QStringList({u"Signing"_s, u"Notarization"_s, u"Workflow"_s, u"Build"_s, u"Environment"_s,
            u"About"_s}));
    for (const QString& text : {u"signing"_s, u"About "_s, u""_s})
        EXPECT_FALSE(settingsSectionFromRawValue(text)) << qPrintable(text);
}

#include "SettingsManagerTest.moc"
