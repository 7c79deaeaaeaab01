#include "CommandFixture.h"

#include <QDir>
#include <QImage>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

using BuildCommand = CommandFixture;

TEST_F(BuildCommand, SaysWhereTheImageIsAndLeavesNothingElse)
{
    EXPECT_EQ(run({u"build"_s, u"Example.app/"_s, u"-o"_s, u"out/Demo.dmg"_s}), 0);
    EXPECT_EQ(results(), path(u"out/Demo.dmg\n"_s));
    EXPECT_TRUE(messages().startsWith("Starting build for My App Installer...\n"_L1));
    EXPECT_TRUE(messages().contains("Done! DMG Saved to Demo.dmg\n"_L1));
    EXPECT_TRUE(messages().contains("/out/Demo.dmg: 33 bytes in "_L1)) << qPrintable(messages());
    EXPECT_EQ(readFile(path(u"out/Demo.dmg"_s)), "UDZO of image of My App Installer");
    EXPECT_EQ(leftBehind(), QStringList());
    EXPECT_EQ(settings.totalBuilds(), 1);
}

TEST_F(BuildCommand, HandsEveryOptionToTheJob)
{
    ASSERT_EQ(run({u"build"_s, u"Example.app"_s, u"--output=out/Demo.dmg"_s, u"--volume-name"_s,
                  u"Demo 2"_s, u"--background"_s, u"sea.png"_s, u"--layout"_s, u"centered"_s,
                  u"--window"_s, u"800x500"_s, u"--applications-position"_s, u"600,222.5"_s,
                  u"--icon-size"_s, u"96"_s, u"--text-size"_s, u"12"_s, u"--format"_s, u"udbz"_s}),
        0)
        << qPrintable(messages());
    const QString script = QString::fromUtf8(readFile(path(u"applescript"_s)));
    for (const QString& line : {u"set diskName to \"Demo 2\""_s, u"{400, 100, 1200, 600}"_s,
             u"icon size to 96"_s, u"text size to 12"_s, u".background/sea.png\") as alias"_s,
             u"\"Example.app\" of disk diskName to {264, 228}"_s,
             u"\"Applications\" of disk diskName to {600, 200}"_s})
        EXPECT_TRUE(script.contains(line)) << qPrintable(line) << "\n" << qPrintable(script);
    EXPECT_EQ(readFile(path(u"out/Demo.dmg"_s)), "UDBZ of image of Demo 2");
    EXPECT_EQ(
        UserDefaults(path(u"defaults.plist"_s)).string(u"default_compression"_s), std::nullopt)
        << "the user's choice is not this run's";
}

TEST_F(BuildCommand, TakesTheBackgroundsOtherResolutionAlong)
{
    const auto save = [this](QSize size, const QString& name) {
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(Qt::blue);
        ASSERT_TRUE(picture.save(path(name)));
    };
    const QStringList build{u"build"_s, u"Example.app"_s, u"--background"_s, u"bg.png"_s, u"-o"_s,
        u"out/Demo.dmg"_s, u"--json"_s};
    save({600, 400}, u"bg.png"_s);
    save({1200, 800}, u"bg@2x.png"_s);
    ASSERT_EQ(run(build), 0) << qPrintable(messages());
    EXPECT_TRUE(readFile(path(u"applescript"_s)).contains(".background/bg.tiff\""));
    EXPECT_FALSE(messages().contains("warning"_L1)) << qPrintable(messages());

    save({1201, 800}, u"bg@2x.png"_s);
    save({600, 300}, u"bg.png"_s);
    ASSERT_EQ(run(build), 0);
    EXPECT_TRUE(readFile(path(u"applescript"_s)).contains(".background/bg.png\""));
    EXPECT_TRUE(messages().contains("bg.png is used alone."_L1)
        && messages().contains("is 600 x 300 points, the window 600 x 400"_L1))
        << qPrintable(messages());
    EXPECT_EQ(leftBehind(), QStringList());
}

TEST_F(BuildCommand, NamesTheOutputAsTheSettingsSay)
{
    struct Row {
        const char* name;
        QString folder; // setting; {} is the test's own
        QString home;
        QString output;
        QString version = u"7"_s;
    };
    const Row rows[] = {
        {"in the current folder", u""_s, u"/"_s, u"{}/Example_7.dmg"_s},
        {"in the folder of the settings", u"{}/out"_s, u"/"_s, u"{}/out/Example_7.dmg"_s},
        {"with a version that would lead elsewhere", u"{}/out"_s, u"/"_s,
            u"{}/out/Example_..-..-7.dmg"_s, u"../../7"_s},
        {"below the home folder", u"~/out"_s, u"{}"_s, u"{}/out/Example_7.dmg"_s},
    };
    const QByteArray home = qgetenv("HOME");
    for (const Row& row : rows) {
        CommandFixture test;
        const auto placed = [&test](QString text) { return text.replace("{}"_L1, test.folder()); };
        test.setVersion(row.version);
        qputenv("HOME", placed(row.home).toUtf8());
        test.settings.setDefaultOutputDirectory(placed(row.folder));
        EXPECT_EQ(test.run({u"build"_s, u"Example.app"_s}), 0) << row.name;
        EXPECT_EQ(test.results(), placed(row.output) + u'\n') << row.name;
    }
    qputenv("HOME", home);
}

TEST_F(BuildCommand, RefusesWhatMakesNoSenseAndWhy)
{
    struct Row {
        const char* name;
        QStringList arguments; // after "build"
        QString reason;
    };
    const QString app = u"Example.app"_s;
    const Row rows[] = {
        {"no application named", {}, u"APP is required"_s},
        {"no application there", {u"No.app"_s}, u"there is no application"_s},
        {"a file", {u"sea.png"_s}, u"is not an application"_s},
        {"a folder that is no bundle", {u"out"_s}, u"is not an application"_s},
        {"no background there", {app, u"--background"_s, u"no.png"_s}, u"not a readable file"_s},
        {"a folder as background", {app, u"--background"_s, u"out"_s}, u"not a readable file"_s},
        {"a small window", {app, u"--window"_s, u"99x400"_s}, u"--window: “99x400”"_s},
        {"a window of one number", {app, u"--window"_s, u"640"_s}, u"--window"_s},
        {"a position of words", {app, u"--app-position"_s, u"left,top"_s}, u"--app-position"_s},
        {"a position beyond any window", {app, u"--applications-position"_s, u"1,99999"_s},
            u"--applications-position"_s},
        {"large icons", {app, u"--icon-size"_s, u"513"_s}, u"--icon-size"_s},
        {"small text", {app, u"--text-size"_s, u"9"_s}, u"--text-size"_s},
        {"an unknown layout", {app, u"--layout"_s, u"diagonal"_s}, u"no layout “diagonal”"_s},
        {"an unknown format", {app, u"--format"_s, u"ZIP"_s}, u"no image format “ZIP”"_s},
        {"a format that is only read", {app, u"--format"_s, u"UDCO"_s},
            u"no image format “UDCO”"_s},
        {"no folder for the output", {app, u"-o"_s, u"no/Demo.dmg"_s}, u"doesn't exist"_s},
        {"the output is a folder", {app, u"-o"_s, u"folder.dmg"_s}, u"is a folder"_s},
        {"another extension", {app, u"-o"_s, u"out/Demo.iso"_s}, u"doesn't end in .dmg"_s},
        {"the output inside the application", {app, u"-o"_s, u"Example.app/Contents/D.dmg"_s},
            u"inside the application"_s},
        {"the output is the background", {app, u"-o"_s, u"b.dmg"_s, u"--background"_s, u"b.dmg"_s},
            u"is the background"_s},
        {"no volume name", {app, u"--volume-name"_s, QString()}, u"volume name is empty"_s},
        {"a long volume name", {app, u"--volume-name"_s, QString(256, u'x')}, u"longer than 255"_s},
        {"a colon in the volume name", {app, u"--volume-name"_s, u"a:b"_s}, u"can't be named"_s},
        {"a line break in the volume name", {app, u"--volume-name"_s, u"a\nb"_s},
            u"can't be named"_s},
        {"a blank at the volume name's end", {app, u"--volume-name"_s, u"Demo "_s},
            u"ends with a blank"_s},
        {"accents that make the volume name long",
            {app, u"--volume-name"_s, QString(130, u'\u00e9')}, u"longer than 255"_s},
        {"a path that is not UTF-8", {app, u"-o"_s, u"out/\ufffd.dmg"_s}, u"is not UTF-8"_s},
        {"a long name for the output", {app, u"-o"_s, QString(252, u'x') + u".dmg"_s},
            u"longer than 255 bytes"_s},
        {"quiet and verbose", {app, u"--quiet"_s, u"--verbose"_s}, u"exclude each other"_s},
        {"an unknown option", {app, u"--fast"_s}, u"--fast"_s},
    };
    QDir().mkpath(path(u"folder.dmg"_s));
    writeFile(path(u"b.dmg"_s), "picture");
    for (const Row& row : rows) {
        const qsizetype before = messages().size();
        EXPECT_EQ(run(QStringList{u"build"_s} + row.arguments), 2) << row.name;
        EXPECT_TRUE(messages().sliced(before).contains(row.reason))
            << row.name << ": " << qPrintable(messages().sliced(before));
    }
    EXPECT_EQ(results(), QString());
    EXPECT_EQ(scripted.calls(), QStringList());
}

TEST_F(BuildCommand, TellsMachinesInLinesOfJson)
{
    ASSERT_EQ(run({u"build"_s, u"Example.app"_s, u"-o"_s, u"out/Demo.dmg"_s, u"--json"_s}), 0);
    const QList<QJsonObject> lines = events();
    EXPECT_EQ(lines.first()[u"event"_s], u"progress"_s);
    EXPECT_EQ(lines.first()[u"message"_s], u"Starting build for My App Installer..."_s);
    const QJsonObject result = lines.last();
    EXPECT_EQ(result[u"event"_s], u"result"_s);
    EXPECT_EQ(result[u"status"_s], u"success"_s);
    EXPECT_EQ(result[u"path"_s], path(u"out/Demo.dmg"_s));
    EXPECT_EQ(result[u"bytes"_s].toInteger(), 33);
    EXPECT_EQ(result[u"volumeName"_s], u"My App Installer"_s);
    EXPECT_EQ(result[u"format"_s], u"UDZO"_s);
    EXPECT_GT(result[u"seconds"_s].toDouble(), 0);
}

TEST_F(BuildCommand, QuietMeansTheResultAlone)
{
    EXPECT_EQ(run({u"build"_s, u"Example.app"_s, u"--quiet"_s}), 0);
    EXPECT_EQ(messages(), QString());
    EXPECT_EQ(results(), path(u"Example_7.dmg\n"_s));
    EXPECT_EQ(silenced, 1);
}

TEST_F(BuildCommand, AFailureNamesStepToolWordsAndRemedyAndKeepsTheOldImage)
{
    struct Row {
        const char* name;
        QString tool;
        QString verb;
        QString answer;
        QString step;
        QString program;
        QString said;
    };
    const Row rows[] = {
        {"creating", u"hdiutil"_s, u"create"_s, u"echo no room >&2; exit 1"_s,
            u"creating the writable image"_s, u"/usr/bin/hdiutil"_s,
            u"DMG Conversion failed: no room"_s},
        {"creating, with the file's real name", u"hdiutil"_s, u"create"_s,
            u"echo \"$5/Example.app/twin: no\" >&2; exit 1"_s, u"creating the writable image"_s,
            u"/usr/bin/hdiutil"_s, u"DMG Conversion failed: {}/Example.app/twin: no"_s},
        {"mounting, killed", u"hdiutil"_s, u"attach"_s, u"kill -KILL $$"_s,
            u"mounting the writable image"_s, u"/usr/bin/hdiutil"_s,
            u"Failed to mount DMG: the tool ended without a word; it may have been killed."_s},
        {"converting what was not ejected", u"hdiutil"_s, u"convert"_s,
            u"echo Resource temporarily unavailable >&2; exit 1"_s, u"converting the image"_s,
            u"/usr/sbin/diskutil"_s, u"DMG Conversion failed: Resource temporarily unavailable"_s},
        {"styling", u"osascript"_s, QString(),
            u"echo '12:13: syntax error: Expected end of line. (-2741)' >&2; exit 1"_s,
            u"styling the window"_s, u"/usr/bin/osascript"_s,
            u"AppleScript customization failed: Expected end of line."_s},
        {"converting, with the output's real name", u"hdiutil"_s, u"convert"_s,
            u"echo half > \"$last\"; echo \"$last is full\" >&2; exit 1"_s,
            u"converting the image"_s, u"/usr/bin/hdiutil"_s,
            u"DMG Conversion failed: {}/out/Demo.dmg is full"_s},
    };
    for (const Row& row : rows) {
        CommandFixture test;
        writeFile(test.path(u"out/Demo.dmg"_s), "an older image");
        test.scripted.script(row.tool, row.verb, row.answer);
        const QStringList words{
            u"build"_s, u"Example.app"_s, u"-o"_s, u"out/Demo.dmg"_s, u"--json"_s};
        EXPECT_EQ(test.run(words), 1) << row.name;
        const QJsonObject result = test.events().last();
        EXPECT_EQ(result[u"status"_s], u"failed"_s) << row.name;
        EXPECT_EQ(result[u"step"_s], row.step) << row.name;
        EXPECT_EQ(result[u"tool"_s], row.program) << row.name;
        QString said = row.said;
        EXPECT_EQ(result[u"said"_s], said.replace("{}"_L1, test.folder())) << row.name;
        EXPECT_FALSE(result[u"remedy"_s].toString().isEmpty()) << row.name;
        EXPECT_TRUE(test.messages().contains(row.step)) << row.name;
        EXPECT_EQ(readFile(test.path(u"out/Demo.dmg"_s)), "an older image") << row.name;
        EXPECT_EQ(test.leftBehind(), QStringList()) << row.name;
    }
}

TEST_F(BuildCommand, AMissingToolCallsForAnotherRemedy)
{
    scripted.remove(u"/usr/bin/hdiutil"_s);
    EXPECT_EQ(run({u"build"_s, u"Example.app"_s}), 1);
    EXPECT_TRUE(messages().contains(u"Said: Could not start “/usr/bin/hdiutil”"_s)
        && messages().contains("Install this program again"_L1))
        << qPrintable(messages());
}

TEST_F(BuildCommand, AMissingEjectorIsNamedWhenItsVolumeCantBeConverted)
{
    scripted.remove(u"/usr/sbin/diskutil"_s);
    scripted.script(u"hdiutil"_s, u"convert"_s, u"echo busy >&2; exit 1"_s);
    EXPECT_EQ(run({u"build"_s, u"Example.app"_s}), 1);
    EXPECT_TRUE(messages().contains(u"Tool: /usr/sbin/diskutil"_s)
        && messages().contains("Install this program again"_L1))
        << qPrintable(messages());
}

TEST_F(BuildCommand, AnOutputFolderThatTakesNothingIsWhatTheRemedyIsAbout)
{
    // Root may write anywhere but where the kernel itself refuses.
    EXPECT_EQ(
        run({u"build"_s, u"Example.app"_s, u"-o"_s, u"/proc/Demo.dmg"_s}), ::getuid() ? 2 : 1);
    EXPECT_FALSE(messages().contains("TMPDIR"_L1)) << qPrintable(messages());
    EXPECT_EQ(leftBehind(), QStringList());
}

TEST_F(BuildCommand, AToolThatHearsOfTheInterruptFirstMakesItNoFailure)
{
    // As with Ctrl-C on a terminal, the tool has ended by the time the main loop turns.
    scripted.script(u"hdiutil"_s, u"create"_s,
        u"kill -STOP $PPID; (kill -INT $PPID; sleep 0.3; kill -CONT $PPID) & exit 1"_s);
    EXPECT_EQ(run({u"build"_s, u"Example.app"_s}), 130);
    EXPECT_TRUE(messages().contains("interrupted"_L1)) << qPrintable(messages());
    EXPECT_EQ(leftBehind(), QStringList());
}

TEST_F(BuildCommand, AnInterruptEndsTheToolAndTheBuildAndKeepsTheOldImage)
{
    struct Row {
        const char* name;
        QString tool;
        QString verb;
        const char* signal;
        bool detaches;
    };
    const Row rows[] = {
        {"while the image is made", u"hdiutil"_s, u"create"_s, "INT", false},
        {"while the window is styled", u"osascript"_s, QString(), "INT", true},
        {"while the image is converted", u"hdiutil"_s, u"convert"_s, "TERM", false},
    };
    for (const Row& row : rows) {
        CommandFixture test;
        writeFile(test.path(u"out/Demo.dmg"_s), "an older image");
        test.scripted.script(row.tool, row.verb,
            u"[ -z \"$last\" ] || echo half > \"$last\"; kill -%1 $PPID; exec sleep 1000"_s.arg(
                QString::fromLatin1(row.signal)));
        EXPECT_EQ(test.run({u"build"_s, u"Example.app"_s, u"-o"_s, u"out/Demo.dmg"_s}), 130)
            << row.name;
        EXPECT_EQ(
            test.scripted.calls().last().startsWith("/usr/bin/hdiutil detach"_L1), row.detaches)
            << row.name;
        EXPECT_EQ(readFile(test.path(u"out/Demo.dmg"_s)), "an older image") << row.name;
        EXPECT_EQ(test.leftBehind(), QStringList()) << row.name;
    }
}

} // namespace
