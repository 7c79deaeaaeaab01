#include "cli/SessionFolder.h"

#include "ScriptedTools.h"

#include "cli/StagedOutput.h"
#include "platform/PlatformError.h"

#include <QCoro/QCoroTask>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

class SessionFolderTest : public testing::Test {
protected:
    QString common() const { return folder.filePath(u"vandor-%1"_s.arg(::getuid())); }
    void sweep() const
    {
        ::alarm(20); // the watchdog
        QCoro::waitFor(SessionFolder::sweepLeftovers(folder.path()));
        ::alarm(0);
    }

    const QTemporaryDir folder;
};

TEST_F(SessionFolderTest, SweepsWhatNobodyHoldsAndNothingElse)
{
    const SessionFolder held(folder.path());
    QString left;
    const QString staging = folder.filePath(u".vandor-01234567-89ab-cdef-0123-456789abcdef"_s);
    {
        const SessionFolder killed(folder.path());
        killed.alsoSweep(staging);
        left = killed.path();
    }
    EXPECT_NE(left, held.path());
    writeFile(staging + u"/Demo.dmg"_s, "half");
    writeFile(left + u"/work/read-only/file"_s, "x");
    ::chmod(qPrintable(left + u"/work/read-only"_s), 0500);

    sweep();
    EXPECT_FALSE(QFileInfo::exists(left));
    EXPECT_FALSE(QFileInfo::exists(staging));
    EXPECT_TRUE(QFileInfo::exists(held.stateFolder()));
    EXPECT_EQ(QFileInfo(held.path()).permissions() & 0x0ff, 0) << "others see nothing";
}

TEST_F(SessionFolderTest, SweepsWhatIsLeftAlsoWhenTheStagingFolderIsGone)
{
    SessionFolder(folder.path())
        .alsoSweep(folder.filePath(u".vandor-01234567-89ab-cdef-0123-456789abcdef"_s));
    sweep();
    EXPECT_EQ(QDir(common()).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList());
}

TEST_F(SessionFolderTest, SweepsNothingOutsideThatIsNotAStagingFolder)
{
    writeFile(folder.filePath(u"precious/file"_s), "x");
    SessionFolder(folder.path()).alsoSweep(folder.filePath(u"precious"_s));
    sweep();
    EXPECT_TRUE(QFileInfo::exists(folder.filePath(u"precious/file"_s)));
    EXPECT_EQ(QDir(common()).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList());
}

TEST_F(SessionFolderTest, RefusesAFolderThatOthersMayUse)
{
    ASSERT_EQ(::mkdir(qPrintable(common()), 0700), 0);
    ASSERT_EQ(::chmod(qPrintable(common()), 0777), 0);
    EXPECT_THROW(SessionFolder session(folder.path()), PlatformError);
    ASSERT_TRUE(QDir().rmdir(common()));
    ASSERT_EQ(::symlink("/", qPrintable(common())), 0);
    EXPECT_THROW(SessionFolder session(folder.path()), PlatformError);
}

TEST(StagedOutput, IsPlacedWholeAndItsFolderGoes)
{
    const QTemporaryDir folder;
    const QString target = folder.filePath(u"Demo.dmg"_s);
    writeFile(target, "an older image");
    {
        StagedOutput output(target);
        EXPECT_TRUE(StagedOutput::isStagingFolder(output.folder()));
        EXPECT_THROW(output.place(), PlatformError) << "there is nothing yet";
        writeFile(output.path(), "the new one");
        EXPECT_EQ(readFile(target), "an older image");
        output.place();
    }
    EXPECT_EQ(readFile(target), "the new one");
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList{u"Demo.dmg"_s});
}

} // namespace
