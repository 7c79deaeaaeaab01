#include "BuildFixture.h"

#include "build/DMGError.h"
#include "build/DMGGenerator.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace {

class DMGGeneratorTest : public BuildFixture {
public:
    /// Runs the job to its end and returns the failure's description, empty after success.
    QString build()
    {
        const DMGGenerator::Progress progress = [this](const QString& message) {
            messages += message;
        };
        run(DMGGenerator(host).createDMG(job, progress, cancellation));
        EXPECT_TRUE(turnUntil([this] { return hasEnded; })) << "the build hangs";
        turnUntil([turns = 0]() mutable { return ++turns > 3; });
        return failure;
    }

    QCoro::Task<> run(QCoro::Task<> task)
    {
        try {
            co_await task;
        } catch (const DMGError& error) {
            failure = error.description();
        } catch (const std::exception& error) {
            failure = u"host: "_s + QString::fromUtf8(error.what());
        }
        hasEnded = true;
    }

    void mountPreviousVolume() { QDir().mkpath(path(u"state/Volumes/My App Installer"_s)); }

    CancellationHandle cancellation = std::make_shared<Cancellation>();
    QStringList messages;
    QString failure;
    bool hasEnded = false;
};

/// A host of its own for a row of a table.
struct FreshDMGGenerator : DMGGeneratorTest {
    void TestBody() override { }
};

TEST_F(DMGGeneratorTest, CallsTheToolsInOrderAndTellsOfEachStep)
{
    job.backgroundURL = QUrl::fromLocalFile(path(u"in/sea.png"_s));
    scripted.script(u"hdiutil"_s, u"create"_s, uR"sh(
        (cd "$5" && find . | LC_ALL=C sort && readlink Applications) > "$records/staged"
        stat -c %a "$5/.." >> "$records/staged"
        printf 'image' > "$last")sh"_s);
    ASSERT_EQ(build(), QString());

    const QStringList expectedCalls{
        u"/usr/bin/hdiutil create -volname My App Installer -srcfolder /tmp/{ID}/SourceFiles -ov "
        u"-format "
        u"UDRW /tmp/{ID}/temp.dmg"_s,
        u"/usr/bin/hdiutil attach -readwrite -noverify -noautoopen /tmp/{ID}/temp.dmg"_s,
        u"/usr/bin/SetFile -a C /Volumes/My App Installer"_s,
        u"/bin/sync"_s,
        u"/usr/sbin/diskutil quiet eject /Volumes/My App Installer"_s,
        u"/usr/bin/hdiutil convert /tmp/{ID}/temp.dmg -format UDZO -o /out/Example.dmg"_s,
    };
    EXPECT_EQ(scripted.calls().join(u'\n').toStdString(), expectedCalls.join(u'\n').toStdString());
    const QStringList expectedMessages{u"Preparing workspace..."_s, u"Copying app bundle..."_s,
        u"Creating Applications link..."_s, u"Processing background image..."_s,
        u"Creating writable disk image..."_s, u"Mounting for customization..."_s,
        u"Setting volume icon..."_s, u"Applying finder styles..."_s, u"Syncing file system..."_s,
        u"Unmounting..."_s, u"Compressing final DMG..."_s, u"Using Compression Strategy: UDZO"_s,
        u"Setting file icon..."_s, u"Done! DMG Saved to Example.dmg"_s};
    EXPECT_EQ(messages.join(u'\n').toStdString(), expectedMessages.join(u'\n').toStdString());
    EXPECT_EQ(read(u"staged"_s),
        ".\n./.background\n./.background/sea.png\n./Applications\n./Example.app\n"
        "./Example.app/Contents\n./Example.app/Contents/MacOS\n"
        "./Example.app/Contents/MacOS/Example\n/Applications\n700\n");

    EXPECT_EQ(read(u"out/Example.dmg"_s), "UDZO of image");
    EXPECT_EQ(icons.placed,
        (QStringList{u"/Volumes/My App Installer <- the system's own"_s,
            path(u"out/Example.dmg"_s) + u" <- an application's"_s}));
    using namespace std::chrono_literals;
    EXPECT_EQ(clock.begun, (std::vector<std::chrono::milliseconds>{2s, 1s, 3s}));
    ASSERT_EQ(scripts.scripts.size(), 1);
    EXPECT_TRUE(scripts.scripts[0].contains(
        "POSIX file \"/Volumes/My App Installer/.background/sea.png\""_L1));
    EXPECT_EQ(workspaces(), QStringList());
}

TEST_F(DMGGeneratorTest, WithoutABackgroundNothingIsStagedForOne)
{
    scripted.script(
        u"hdiutil"_s, u"create"_s, u"ls -A \"$5\" > \"$records/staged\"; : > \"$last\""_s);
    EXPECT_EQ(build(), QString());
    EXPECT_EQ(read(u"staged"_s), "Applications\nExample.app\n");
    EXPECT_FALSE(messages.contains(u"Processing background image..."_s));
    EXPECT_TRUE(scripts.scripts.value(0).contains("set background picture to none"_L1));
}

TEST_F(DMGGeneratorTest, FailuresEndTheBuildWithTheirTextAndCleanUp)
{
    struct Row {
        const char* name;
        std::function<void(DMGGeneratorTest&)> arrange;
        QString failure;
        qsizetype callCount;
    };
    const QString details = u"Volume Ejection Failed: Could not unmount existing volume "
                            u"'My App Installer'. Please close any open files in this volume and "
                            u"try again.\nDetails: "_s;
    const Row rows[] = {
        {"no application named", [](auto& test) { test.job.appURL.reset(); },
            u"Missing configuration (URL or Output Path)."_s, 0},
        {"no output named", [](auto& test) { test.job.outputURL.reset(); },
            u"Missing configuration (URL or Output Path)."_s, 0},
        {"the name's previous volume is busy",
            [](auto& test) {
                test.mountPreviousVolume();
                test.scripted.script(u"diskutil"_s, u"unmount"_s, u"echo ' in use ' >&2; exit 1"_s);
            },
            details + u"in use"_s, 1},
        {"the refusal is no text",
            [](auto& test) {
                test.mountPreviousVolume();
                test.scripted.script(u"diskutil"_s, u"unmount"_s, u"printf '\\377' >&2; exit 1"_s);
            },
            details + u"Unknown Error"_s, 1},
        {"no application at the place",
            [](auto& test) { QDir(test.path(u"in"_s)).removeRecursively(); },
            u"Source app not found."_s, 0},
        {"the image isn't made, and the tool's text stays untrimmed",
            [](auto& test) {
                test.scripted.script(
                    u"hdiutil"_s, u"create"_s, u"echo 'create failed' >&2; exit 3"_s);
            },
            u"DMG Conversion failed: create failed\n"_s, 1},
        {"attaching fails",
            [](auto& test) {
                test.scripted.script(
                    u"hdiutil"_s, u"attach"_s, u"echo busy; echo 'no mount' >&2; exit 1"_s);
            },
            u"Failed to mount DMG: no mount\n"_s, 2},
        {"attaching names no volume",
            [](auto& test) {
                test.scripted.script(u"hdiutil"_s, u"attach"_s, u"echo /dev/disk4"_s);
            },
            u"Failed to mount DMG: Could not parse mount point from hdiutil output."_s, 2},
        {"the script fails and the volume is detached",
            [](auto& test) {
                test.scripts.answer = {true, true, u"all of it"_s, u"Timeout"_s};
                test.scripted.script(u"hdiutil"_s, u"detach"_s, u"exit 1"_s);
            },
            u"AppleScript customization failed: Timeout"_s, 4},
        {"the script fails without a message",
            [](auto& test) {
                test.scripts.answer = {true, true, u"all of it"_s, std::nullopt};
            },
            u"AppleScript customization failed: Unknown AppleScript Error"_s, 4},
        {"the conversion fails",
            [](auto& test) {
                test.scripted.script(u"hdiutil"_s, u"convert"_s, u"echo 'disk full' >&2; exit 1"_s);
            },
            u"DMG Conversion failed: disk full\n"_s, 6},
    };
    for (const Row& row : rows) {
        FreshDMGGenerator test;
        row.arrange(test);
        EXPECT_EQ(test.build().toStdString(), row.failure.toStdString()) << row.name;
        EXPECT_EQ(test.scripted.calls().size(), row.callCount) << row.name;
        EXPECT_EQ(test.workspaces(), QStringList()) << row.name;
    }
}

TEST_F(DMGGeneratorTest, DetachesTheVolumeWhenTheScriptFails)
{
    scripts.answer = {true, true, u"all of it"_s, u"Timeout"_s};
    testing::internal::CaptureStdout();
    build();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "AppleScript Error: all of it\n");
    EXPECT_EQ(scripted.calls().last(), u"/usr/bin/hdiutil detach /Volumes/My App Installer"_s);
}

TEST_F(DMGGeneratorTest, AToolThatCannotBeStartedMattersWhereItsWorkDoes)
{
    struct Row {
        const char* name;
        QString tool;
        bool hasPreviousVolume;
        QString beginning; // of the failure
    };
    const Row rows[] = {
        {"nothing flushes", u"/bin/sync"_s, false, QString()},
        {"nothing ejects", u"/usr/sbin/diskutil"_s, false, QString()},
        {"nothing marks the icon", u"/usr/bin/SetFile"_s, false, QString()},
        {"nothing makes images", u"/usr/bin/hdiutil"_s, false,
            u"host: Could not start “/usr/bin/hdiutil”: "_s},
        {"nothing frees the name", u"/usr/sbin/diskutil"_s, true,
            u"Volume Ejection Failed: Failed to launch diskutil: "_s},
    };
    for (const Row& row : rows) {
        FreshDMGGenerator test;
        test.scripted.remove(row.tool);
        if (row.hasPreviousVolume)
            test.mountPreviousVolume();
        test.build();
        EXPECT_TRUE(test.failure.startsWith(row.beginning)) << row.name << qPrintable(test.failure);
        EXPECT_EQ(test.failure.isEmpty(), row.beginning.isEmpty())
            << row.name << qPrintable(test.failure);
        EXPECT_EQ(test.workspaces(), QStringList()) << row.name;
    }
}

TEST_F(DMGGeneratorTest, AFailedEjectOrMarkOrFlushDoesNotStopTheBuild)
{
    for (const QString& tool : {u"SetFile"_s, u"sync"_s, u"diskutil"_s})
        scripted.script(tool, QString(), u"echo no >&2; exit 1"_s);
    EXPECT_EQ(build(), QString());
    EXPECT_EQ(read(u"out/Example.dmg"_s), "UDZO of image of My App Installer");
}

TEST_F(DMGGeneratorTest, FreesTheVolumeNameFirst)
{
    mountPreviousVolume();
    EXPECT_EQ(build(), QString());
    EXPECT_EQ(
        scripted.calls().first(), u"/usr/sbin/diskutil unmount force /Volumes/My App Installer"_s);
}

TEST_F(DMGGeneratorTest, ReplacesThePreviousOutput)
{
    write(u"out/Example.dmg"_s, "an older image");
    settings.setDefaultCompression(u"UDBZ"_s);
    EXPECT_EQ(build(), QString());
    EXPECT_EQ(read(u"out/Example.dmg"_s), "UDBZ of image of My App Installer");
}

TEST_F(DMGGeneratorTest, AnOutputThatCannotBeRemovedEndsTheBuildUnconverted)
{
    job.outputURL = QUrl::fromLocalFile(u"/proc/version"_s); // not even root can
    build();
    EXPECT_TRUE(failure.startsWith("host: Could not remove"_L1)) << qPrintable(failure);
    EXPECT_EQ(scripted.calls().filter(u"convert"_s), QStringList());
    EXPECT_EQ(workspaces(), QStringList());
}

TEST_F(DMGGeneratorTest, AFailedCopyNamesTheFileAndCleansUp)
{
    job.backgroundURL = QUrl::fromLocalFile(path(u"in/no such.png"_s));
    build();
    EXPECT_TRUE(failure.startsWith("host: "_L1) && failure.contains("no such.png"_L1))
        << qPrintable(failure);
    EXPECT_EQ(workspaces(), QStringList());
}

TEST_F(DMGGeneratorTest, AStoppedCopyEndsTheBuildAndCleansUp)
{
    host.stopCopies = std::make_shared<const std::atomic<bool>>(true);
    build();
    EXPECT_TRUE(failure.startsWith("host: Could not copy"_L1)) << qPrintable(failure);
    EXPECT_EQ(scripted.calls(), QStringList());
    EXPECT_EQ(workspaces(), QStringList());
}

TEST_F(DMGGeneratorTest, TakesTheApplicationsIconWhereTheSystemHasNone)
{
    struct Row {
        const char* name;
        bool hasFileIcons;
        bool refuses;
        qsizetype placed;
        std::string console;
    };
    const Row rows[] = {
        {"the application's", true, false, 2, ""},
        {"none at all", false, false, 0, ""},
        {"one that the volume refuses", true, true, 2,
            "Warning: NSWorkspace failed to set icon for volume at /Volumes/My App Installer\n"},
    };
    for (const Row& row : rows) {
        FreshDMGGenerator test;
        test.icons.ofApplication.reset();
        test.icons.refuses = row.refuses;
        if (!row.hasFileIcons)
            test.icons.ofFiles.reset();
        testing::internal::CaptureStdout();
        EXPECT_EQ(test.build(), QString()) << row.name;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), row.console) << row.name;
        EXPECT_EQ(test.icons.placed.size(), row.placed) << row.name;
        EXPECT_TRUE(
            test.scripted.calls().contains(u"/usr/bin/SetFile -a C /Volumes/My App Installer"_s))
            << row.name;
    }
}

TEST_F(DMGGeneratorTest, CancellingEndsWaitsAndNothingElse)
{
    clock.isHeld = true;
    bool wasWaiting = false;
    QMetaObject::invokeMethod(
        cancellation.get(),
        [this, &wasWaiting] {
            wasWaiting = turnUntil([this] { return clock.running == 1; });
            cancellation->request();
        },
        Qt::QueuedConnection);
    EXPECT_EQ(build(), QString());
    EXPECT_TRUE(wasWaiting);
    EXPECT_EQ(clock.begun.size(), 3U);
    EXPECT_EQ(scripted.calls().size(), 6);
    EXPECT_EQ(read(u"out/Example.dmg"_s), "UDZO of image of My App Installer");
}

} // namespace
