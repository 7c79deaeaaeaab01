#include "BuildFixture.h"

#include "build/BuildManager.h"

using namespace Qt::StringLiterals;

namespace {

class BuildManagerTest : public BuildFixture {
public:
    BuildManagerTest()
    {
        QLocale::setDefault(QLocale::c());
        QObject::connect(manager.get(), &BuildManager::statusChanged, manager.get(),
            [this] { states.push_back(manager->status()); });
    }

    void finish()
    {
        EXPECT_TRUE(turnUntil([this] { return !manager->status().isBuilding(); }))
            << "the build hangs";
    }

    std::unique_ptr<BuildManager> manager = std::make_unique<BuildManager>(host);
    std::vector<BuildStatus> states;
};

/// A host of its own for a row of a table.
struct FreshBuildManager : BuildManagerTest {
    void TestBody() override { }
};

TEST_F(BuildManagerTest, LogsABuildWithTheTimeAndCountsIt)
{
    EXPECT_EQ(manager->status(), BuildStatus::idle());
    manager->startBuild(job);
    EXPECT_EQ(manager->logs(), u"[14:03:27] Starting build for My App Installer...\n"_s);
    EXPECT_TRUE(manager->buildTask());
    finish();
    EXPECT_EQ(states, (std::vector{BuildStatus::building(), BuildStatus::success()}));
    EXPECT_FALSE(manager->buildTask());
    EXPECT_TRUE(manager->logs().endsWith("[14:03:27] Done! DMG Saved to Example.dmg\n"
                                         "[14:03:27] Build Complete!\n"_L1))
        << qPrintable(manager->logs());

    manager->startBuild(job);
    EXPECT_EQ(manager->logs().count(u'\n'), 1) << "a new build begins a new log";
    finish();
    EXPECT_EQ(settings.totalBuilds(), 2);
}

TEST_F(BuildManagerTest, AFailureIsTheLogsLastLine)
{
    scripted.script(u"hdiutil"_s, u"attach"_s, u"echo 'no mount' >&2; exit 1"_s);
    manager->startBuild(job);
    finish();
    EXPECT_EQ(manager->status(), BuildStatus::failed(u"Failed to mount DMG: no mount\n"_s));
    EXPECT_TRUE(manager->logs().endsWith("[14:03:27] Mounting for customization...\n[14:03:27] \n"
                                         "[!] Error: Failed to mount DMG: no mount\n\n"_L1))
        << qPrintable(manager->logs());
    EXPECT_EQ(settings.totalBuilds(), 0);
}

TEST_F(BuildManagerTest, AFailureAtOnceComesAfterTheProgressBeforeIt)
{
    host.temporaryFolder = path(u"in/sea.png"_s);
    BuildManager other(host);
    other.startBuild(job);
    ASSERT_TRUE(turnUntil([&] { return !other.status().isBuilding(); }));
    EXPECT_EQ(other.status().which, BuildStatus::Case::failed);
    EXPECT_LT(other.logs().indexOf("Preparing workspace..."_L1), other.logs().indexOf("[!]"_L1));
}

TEST_F(BuildManagerTest, OnlyOneBuildRuns)
{
    manager->startBuild(job);
    const CancellationHandle first = manager->buildTask();
    manager->startBuild(job);
    EXPECT_EQ(manager->buildTask(), first);
    finish();
    EXPECT_EQ(scripted.calls().filter(u"hdiutil create"_s).size(), 1);
}

TEST_F(BuildManagerTest, ACancelledBuildEndsAsItsStepsDo)
{
    struct Row {
        const char* name;
        QString conversion;
        BuildStatus status;
        QString end; // of the log
        qint64 count;
    };
    const Row rows[] = {
        {"all steps succeed", u": > \"$last\""_s, BuildStatus::success(), u"] Build Complete!\n"_s,
            1},
        {"a later step fails", u"exit 1"_s, BuildStatus::cancelled(),
            u"] \n[!] Build Cancelled by User.\n"_s, 0},
    };
    for (const Row& row : rows) {
        FreshBuildManager test;
        test.clock.isHeld = true;
        test.scripted.script(u"hdiutil"_s, u"convert"_s, row.conversion);
        test.manager->cancel();
        EXPECT_EQ(test.manager->logs(), QString()) << "nothing runs, nothing is cancelled";

        test.manager->startBuild(test.job);
        ASSERT_TRUE(turnUntil([&] { return test.clock.running == 1; })) << row.name;
        test.manager->cancel();
        EXPECT_TRUE(test.manager->status().isBuilding()) << row.name;
        EXPECT_TRUE(test.manager->logs().endsWith("] \nCancelling...\n"_L1)) << row.name;
        test.finish();
        EXPECT_EQ(test.manager->status(), row.status) << row.name;
        EXPECT_TRUE(test.manager->logs().endsWith(row.end)) << row.name;
        EXPECT_EQ(test.settings.totalBuilds(), row.count) << row.name;
    }
}

TEST_F(BuildManagerTest, ABuildWaitsForTheOneOfAnEarlierProject)
{
    const auto imagesMade = [this] { return scripted.calls().filter(u"hdiutil create"_s).size(); };
    clock.isHeld = true;
    manager->startBuild(job);
    const CancellationHandle earlier = manager->buildTask();
    ASSERT_TRUE(turnUntil([this] { return clock.running == 1; }));
    manager->clear();
    EXPECT_EQ(manager->image(), std::nullopt);

    manager->startBuild(job);
    EXPECT_TRUE(manager->logs().endsWith("] Waiting for an earlier build to end...\n"_L1));
    manager->cancel();
    EXPECT_EQ(manager->status(), BuildStatus::cancelled());
    EXPECT_TRUE(manager->logs().endsWith("] \n[!] Build Cancelled by User.\n"_L1));
    EXPECT_FALSE(manager->buildTask());

    job.outputURL = QUrl::fromLocalFile(path(u"out/Later.dmg"_s));
    manager->startBuild(job);
    EXPECT_EQ(imagesMade(), 1);
    clock.isHeld = false;
    earlier->request();
    finish();
    EXPECT_EQ(manager->status(), BuildStatus::success());
    EXPECT_EQ(manager->image(), job.outputURL);
    EXPECT_EQ(imagesMade(), 2);
    EXPECT_EQ(settings.totalBuilds(), 1) << "nobody hears of the earlier one";
}

TEST_F(BuildManagerTest, StoppingAlsoCutsTheWaitsOfAnEarlierProject)
{
    clock.isHeld = true;
    manager->startBuild(job);
    ASSERT_TRUE(turnUntil([this] { return clock.running == 1; }));
    manager->clear();
    manager->startBuild(job);
    manager->stop();
    EXPECT_EQ(manager->status(), BuildStatus::cancelled());
    EXPECT_TRUE(turnUntil([this] { return icons.placed.size() == 2 && workspaces().isEmpty(); }));
    EXPECT_EQ(scripted.calls().filter(u"hdiutil create"_s).size(), 1);
}

TEST_F(BuildManagerTest, ABuildOutlivesItsManagerQuietly)
{
    manager->startBuild(job);
    ASSERT_TRUE(turnUntil([this] { return !scripted.calls().isEmpty(); }));
    manager.reset();
    ASSERT_TRUE(turnUntil([this] { return icons.placed.size() == 2 && workspaces().isEmpty(); }));
    turnUntil([turns = 0]() mutable { return ++turns > 3; });
    EXPECT_EQ(settings.totalBuilds(), 0);
}

} // namespace
