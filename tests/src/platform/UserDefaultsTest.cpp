#include "platform/UserDefaults.h"

#include "platform/PropertyList.h"

#include "Scratch.h"

#include <gtest/gtest.h>
#include <limits>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

class UserDefaultsTest : public testing::Test {
public:
    UserDefaultsTest()
    {
        QObject::connect(&defaults, &UserDefaults::changed, &defaults,
            [this](const QString& key) { changes << key; });
    }

    Scratch scratch;
    QString file = scratch.path(u"config/app.plist"_s);
    UserDefaults defaults{file};
    QStringList changes;
};

} // namespace

TEST_F(UserDefaultsTest, EveryTypeSurvivesARestartToTheLastBit)
{
    const QVariantList nested{
        u"text"_s, QByteArray("a\0b", 3), qint64(-7), QVariantList{true, 0.1}};
    defaults.set(u"text"_s, u"größer ${APP_NAME} <&>"_s);
    defaults.set(u"empty"_s, QString());
    defaults.set(u"yes"_s, true);
    defaults.set(u"no"_s, false);
    defaults.set(u"real"_s, 0.1 + 0.2);
    defaults.set(u"tiny"_s, std::numeric_limits<double>::denorm_min());
    defaults.set(u"most"_s, std::numeric_limits<qint64>::max());
    defaults.set(u"least"_s, std::numeric_limits<qint64>::min());
    defaults.set(u"minus"_s, qint64(-1));
    defaults.set(u"data"_s, QByteArray("\0\xff", 2));
    defaults.set(u"list"_s, nested);

    const UserDefaults again(file);
    EXPECT_EQ(again.string(u"text"_s), u"größer ${APP_NAME} <&>"_s);
    EXPECT_EQ(again.string(u"empty"_s), u""_s);
    EXPECT_EQ(again.boolean(u"yes"_s), true);
    EXPECT_EQ(again.boolean(u"no"_s), false);
    EXPECT_EQ(again.real(u"real"_s), 0.1 + 0.2);
    EXPECT_EQ(again.real(u"tiny"_s), std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(again.integer(u"most"_s), std::numeric_limits<qint64>::max());
    EXPECT_EQ(again.integer(u"least"_s), std::numeric_limits<qint64>::min());
    EXPECT_EQ(again.integer(u"minus"_s), -1);
    EXPECT_EQ(again.data(u"data"_s), QByteArray("\0\xff", 2));
    EXPECT_EQ(again.array(u"list"_s), nested);
    EXPECT_EQ(QFileInfo(file).permissions() & (QFile::ReadGroup | QFile::ReadOther), 0);
}

TEST_F(UserDefaultsTest, AnotherTypeReadsAsNothing)
{
    defaults.set(u"text"_s, u"1"_s);
    defaults.set(u"whole"_s, qint64(640));
    EXPECT_FALSE(defaults.boolean(u"text"_s));
    EXPECT_FALSE(defaults.integer(u"text"_s));
    EXPECT_FALSE(defaults.data(u"text"_s));
    EXPECT_FALSE(defaults.string(u"whole"_s));
    EXPECT_FALSE(defaults.boolean(u"whole"_s));
    EXPECT_EQ(defaults.real(u"whole"_s), 640.0);
    EXPECT_FALSE(defaults.string(u"missing"_s));
}

TEST_F(UserDefaultsTest, ChangesAreAnnouncedOnceForTheirKey)
{
    defaults.set(u"a"_s, qint64(1));
    defaults.set(u"a"_s, qint64(1));
    defaults.set(u"b"_s, true);
    defaults.setVolatile(u"a"_s, qint64(2));
    defaults.set(u"a"_s, qint64(3)); // nobody reads it while the override stands
    defaults.setVolatile(u"a"_s, {});
    defaults.remove(u"a"_s);
    defaults.remove(u"a"_s);
    EXPECT_EQ(changes, QStringList({u"a"_s, u"b"_s, u"a"_s, u"a"_s, u"a"_s}));
}

TEST_F(UserDefaultsTest, VolatileValuesWinAndAreNeverWritten)
{
    defaults.set(u"format"_s, u"UDZO"_s);
    defaults.setVolatile(u"format"_s, u"UDBZ"_s);
    defaults.set(u"other"_s, true);
    EXPECT_EQ(defaults.string(u"format"_s), u"UDBZ"_s);
    EXPECT_EQ(UserDefaults(file).string(u"format"_s), u"UDZO"_s);
    defaults.setVolatile(u"format"_s, {});
    EXPECT_EQ(defaults.string(u"format"_s), u"UDZO"_s);
}

TEST_F(UserDefaultsTest, ProgramsSeeEachOthersWritesAndLoseNoKeys)
{
    constexpr int programs = 3;
    constexpr int keys = 40;
    defaults.set(u"before"_s, u"kept"_s);
    for (int program = 0; program < programs; ++program) {
        if (::fork() != 0)
            continue;
        UserDefaults own(file);
        for (int key = 0; key < keys; ++key)
            own.set(u"%1.%2"_s.arg(program).arg(key), qint64(key));
        ::_exit(own.string(u"before"_s) == u"kept"_s ? 0 : 1);
    }
    for (int key = 0; key < keys; ++key)
        defaults.set(u"ours.%1"_s.arg(key), qint64(key));
    for (int program = 0; program < programs; ++program) {
        int status = -1;
        ASSERT_GT(::wait(&status), 0);
        EXPECT_EQ(status, 0);
    }
    for (int key = 0; key < keys; ++key) {
        EXPECT_EQ(defaults.integer(u"ours.%1"_s.arg(key)), key);
        for (int program = 0; program < programs; ++program)
            EXPECT_EQ(defaults.integer(u"%1.%2"_s.arg(program).arg(key)), key);
    }
}

TEST_F(UserDefaultsTest, ADamagedFileIsSetAsideAndToldOnce)
{
    const QByteArray whole = PropertyList::binary({{u"a"_s, u"b"_s}});
    const struct {
        const char* name;
        QByteArray bytes;
    } rows[] = {
        {"empty", ""},
        {"no property list", "window = 600"},
        {"cut off", whole.left(whole.size() - 3)},
        {"an array", "<plist version=\"1.0\"><array/></plist>"},
        {"too deep",
            "<plist version=\"1.0\"><dict><key>a</key>" + QByteArray("<array>").repeated(900'000)},
    };
    QStringList asides{file + u".damaged"_s};
    for (const auto& row : rows) {
        scratch.write(u"config/app.plist"_s, row.bytes);
        testing::internal::CaptureStdout();
        EXPECT_FALSE(defaults.string(u"a"_s)) << row.name;
        EXPECT_FALSE(defaults.string(u"b"_s)) << row.name;
        const std::string told = testing::internal::GetCapturedStdout();
        EXPECT_NE(told.find("damaged"), std::string::npos) << row.name;
        EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
        EXPECT_EQ(Scratch::read(asides.back()), row.bytes) << row.name;
        asides << file + u".damaged-%1"_s.arg(asides.size() + 1);
        defaults.set(u"a"_s, u"fresh"_s);
        EXPECT_EQ(UserDefaults(file).string(u"a"_s), u"fresh"_s) << row.name;
    }
}

TEST_F(UserDefaultsTest, WhatCannotBeSavedStaysWithThisProcess)
{
    scratch.write(u"blocked"_s, "a file where a folder should be");
    const QString unreachable = scratch.path(u"blocked/app.plist"_s);
    UserDefaults homeless(unreachable);
    testing::internal::CaptureStdout();
    homeless.set(u"a"_s, true);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("not saved"), std::string::npos);
    EXPECT_EQ(homeless.boolean(u"a"_s), true);
    EXPECT_FALSE(UserDefaults(unreachable).boolean(u"a"_s));
}

TEST_F(UserDefaultsTest, AFileThatCannotBeReadIsNotWrittenOver)
{
    QDir().mkpath(file); // a folder under the file's name opens and doesn't read
    testing::internal::CaptureStdout();
    EXPECT_FALSE(defaults.string(u"a"_s));
    defaults.set(u"a"_s, u"b"_s);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(defaults.string(u"a"_s), u"b"_s);
    EXPECT_TRUE(QFileInfo(file).isDir());
}

TEST_F(UserDefaultsTest, AListKeptElsewhereByALinkStaysThere)
{
    const QString elsewhere =
        scratch.write(u"dotfiles/app.plist"_s, PropertyList::binary({{u"a"_s, true}}));
    const QString link = scratch.path(u"linked.plist"_s);
    ASSERT_TRUE(QFile::link(elsewhere, link));
    UserDefaults linked(link);
    linked.set(u"b"_s, true);
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    EXPECT_EQ(UserDefaults(elsewhere).boolean(u"b"_s), true);
    EXPECT_EQ(UserDefaults(elsewhere).boolean(u"a"_s), true);
}
