#include "platform/SystemRoot.h"

#include "platform/Activation.h"
#include "platform/MainQueue.h"
#include "platform/PlatformError.h"

#include "Await.h"

#include <cerrno>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(SystemRoot, OnlyVolumesAndToolsMove)
{
    const SystemRoot root(u"/opt/toolbox"_s, u"/home/me/state"_s);
    struct Row {
        const char* name;
        QString macPath;
        QString hostPath;
    };
    const Row rows[] = {
        {"a volume", u"/Volumes/My App"_s, u"/home/me/state/Volumes/My App"_s},
        {"the folder of volumes", u"/Volumes"_s, u"/home/me/state/Volumes"_s},
        {"a name that only begins alike", u"/VolumesOld/X"_s, u"/VolumesOld/X"_s},
        {"a volume folder further down", u"/home/Volumes/X"_s, u"/home/Volumes/X"_s},
        {"the system's applications", u"/Applications"_s, u"/Applications"_s},
    };
    for (const Row& row : rows)
        EXPECT_EQ(root.hostPath(row.macPath), row.hostPath) << row.name;
    EXPECT_EQ(root.toolPath(u"/usr/bin/hdiutil"_s), u"/opt/toolbox/usr/bin/hdiutil"_s);
    EXPECT_EQ(root.childEnvironment().value(u"VANDOR_STATE"_s), u"/home/me/state"_s);
}

TEST(SystemRoot, SessionsHaveTheHostsToolsAndVolumesOfTheirOwn)
{
    const SystemRoot host = SystemRoot::host();
    const SystemRoot session = SystemRoot::session(u"/tmp/session"_s);
    EXPECT_EQ(session.toolPath(u"/bin/sync"_s), host.toolPath(u"/bin/sync"_s));
    EXPECT_EQ(session.hostPath(u"/Volumes/A"_s), u"/tmp/session/Volumes/A"_s);
    EXPECT_NE(host.hostPath(u"/Volumes/A"_s), session.hostPath(u"/Volumes/A"_s));
    EXPECT_TRUE(host.stateFolder().endsWith("/vandor-dmg"_L1));
}

TEST(PlatformError, NamesTheFileAndTheReason)
{
    using Operation = PlatformError::Operation;
    const PlatformError error = PlatformError::fromErrno(Operation::copy, u"/a/%2 b"_s, ENOENT);
    EXPECT_EQ(error.description(), u"Could not copy “/a/%2 b”: No such file or directory."_s);
    EXPECT_EQ(error.what(), error.description().toUtf8());
    EXPECT_EQ(error.errorNumber(), ENOENT);
}

TEST(MainQueue, ActionsWaitForALaterTurnAndKeepTheirOrder)
{
    QStringList ran;
    MainQueue::post([&] {
        ran << u"first"_s;
        MainQueue::post([&] { ran << u"posted by the first"_s; });
    });
    MainQueue::post([&] { ran << u"second"_s; });
    EXPECT_TRUE(ran.isEmpty());
    EXPECT_TRUE(turnUntil([&] { return ran.size() == 3; }));
    EXPECT_EQ(ran, QStringList({u"first"_s, u"second"_s, u"posted by the first"_s}));
}

TEST(Activation, AsksTheProgramIfItHasAWindow)
{
    int asked = 0;
    Activation::bringToFront();
    Activation::setHandler([&] { ++asked; });
    Activation::bringToFront();
    EXPECT_EQ(asked, 1);
    Activation::setHandler({});
    Activation::bringToFront();
    EXPECT_EQ(asked, 1);
}
