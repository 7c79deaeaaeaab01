#include "platform/HostToolRunner.h"

#include "Await.h"
#include "Scratch.h"

#include <csignal>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class ToolRunnerTest : public testing::Test {
public:
    ToolRunnerTest()
        : runner(SystemRoot(scratch.path(u"tools"_s), scratch.path(u"state"_s)))
    { }

    /// A call of a tool made of `text`, with both streams captured.
    ToolCall call(const QByteArray& text) const
    {
        scratch.writeTool(u"/usr/bin/tool"_s, text);
        ToolCall result;
        result.program = u"/usr/bin/tool"_s;
        result.captureOutput = true;
        result.captureError = true;
        return result;
    }
    ToolOutcome run(const QByteArray& text) { return await(runner.run(call(text))); }

    Scratch scratch;
    HostToolRunner runner;
};

} // namespace

TEST_F(ToolRunnerTest, EveryEndIsOneOutcome)
{
    struct Row {
        const char* name;
        QByteArray script;
        int status;
        QByteArray output;
        QByteArray error;
    };
    const Row rows[] = {
        {"success", "echo out; echo err >&2", 0, "out\n", "err\n"},
        {"failure", "echo why >&2; exit 3", 3, "", "why\n"},
        {"killed by a signal", "echo part; kill -TERM $$", SIGTERM, "part\n", ""},
        {"killed without mercy", "kill -KILL $$", SIGKILL, "", ""},
        {"closes its streams and goes on", "exec >&- 2>&-; sleep 0.2; exit 4", 4, "", ""},
        {"output without a line end", "printf 'a\\000b'", 0, QByteArray("a\0b", 3), ""},
        {"standard input is empty", "cat; echo end", 0, "end\n", ""},
        {"finds the state folder", "basename \"$VANDOR_STATE\"", 0, "state\n", ""},
    };
    for (const Row& row : rows) {
        const ToolOutcome outcome = run(row.script);
        EXPECT_FALSE(outcome.launchError) << row.name;
        EXPECT_EQ(outcome.exitStatus, row.status) << row.name;
        EXPECT_EQ(outcome.output, row.output) << row.name;
        EXPECT_EQ(outcome.error, row.error) << row.name;
        EXPECT_EQ(outcome.succeeded(), row.status == 0) << row.name;
    }
}

TEST_F(ToolRunnerTest, ArgumentsPassThroughNoShell)
{
    ToolCall withArguments = call("for a in \"$@\"; do printf '<%s>' \"$a\"; done");
    withArguments.arguments = {
        u"My App"_s, u""_s, u"$HOME `id` \"q\" 'q' \\"_s, u"two\nlines"_s, u"é"_s};
    const ToolOutcome outcome = await(runner.run(withArguments));
    EXPECT_EQ(
        QString::fromUtf8(outcome.output), u"<My App><><$HOME `id` \"q\" 'q' \\><two\nlines><é>"_s);
}

TEST_F(ToolRunnerTest, InputArrivesWholeAndMayBeIgnored)
{
    ToolCall reader = call("wc -c");
    reader.input = QByteArray(3'000'000, 'x');
    EXPECT_EQ(await(runner.run(reader)).output.trimmed(), "3000000");

    ToolCall deaf = call("exec <&-; sleep 0.1; exit 5");
    deaf.input = QByteArray(3'000'000, 'x');
    EXPECT_EQ(await(runner.run(deaf)).exitStatus, 5);
}

TEST_F(ToolRunnerTest, RunsInTheFolderThatTheMacPathNames)
{
    QDir().mkpath(scratch.path(u"state/Volumes/A B"_s));
    ToolCall there = call("pwd");
    there.workingDirectory = u"/Volumes/A B"_s;
    EXPECT_TRUE(await(runner.run(there)).output.endsWith("/state/Volumes/A B\n"));

    there.workingDirectory = u"/Volumes/missing"_s;
    EXPECT_TRUE(await(runner.run(there)).launchError);
}

TEST_F(ToolRunnerTest, WhatDoesNotStartIsALaunchErrorThatNamesTheMacsPath)
{
    scratch.write(u"tools/usr/bin/plain"_s, "#!/bin/sh\n");
    QDir().mkpath(scratch.path(u"tools/usr/bin/folder"_s));
    scratch.writeTool(u"/usr/bin/orphan"_s, "");
    scratch.write(u"tools/usr/bin/orphan"_s, "#!/nowhere/interpreter\n");
    struct Row {
        QString program;
        QString reason;
    };
    const Row rows[] = {
        {u"/usr/bin/missing"_s, u"No such file or directory"_s},
        {u"/usr/bin/plain"_s, u"Permission denied"_s},
        {u"/usr/bin/folder"_s, u"Permission denied"_s},
        {u"/usr/bin/orphan"_s, u"No such file or directory"_s},
    };
    for (const Row& row : rows) {
        ToolCall failing;
        failing.program = row.program;
        const ToolOutcome outcome = await(runner.run(failing));
        ASSERT_TRUE(outcome.launchError) << qPrintable(row.program);
        EXPECT_FALSE(outcome.succeeded());
        EXPECT_TRUE(outcome.launchError->contains(u'“' + row.program + u'”'))
            << qPrintable(*outcome.launchError);
        EXPECT_TRUE(outcome.launchError->contains(row.reason)) << qPrintable(*outcome.launchError);
    }
}

TEST_F(ToolRunnerTest, AFloodOnBothStreamsIsTakenIn)
{
    const ToolOutcome outcome = run("head -c 52428800 /dev/zero >&2 &\n"
                                    "head -c 52428800 /dev/zero; wait");
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.output.size(), 52428800);
    EXPECT_EQ(outcome.error.size(), 52428800);
}

TEST_F(ToolRunnerTest, AGrandchildThatHoldsTheStreamsIsNotWaitedFor)
{
    QElapsedTimer timer;
    timer.start();
    const ToolOutcome outcome = run("sleep 15 & echo $!");
    EXPECT_LT(timer.elapsed(), 10'000);
    EXPECT_EQ(outcome.exitStatus, 0);
    const int grandchild = outcome.output.trimmed().toInt();
    ASSERT_GT(grandchild, 0);
    EXPECT_EQ(::kill(grandchild, SIGKILL), 0) << "it should have been running still";
}

TEST_F(ToolRunnerTest, WhatIsNotCapturedGoesToOurOwnStreams)
{
    ToolCall forwarding = call("echo seen; echo kept >&2");
    forwarding.captureOutput = false;
    testing::internal::CaptureStdout();
    const ToolOutcome outcome = await(runner.run(forwarding));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "seen\n");
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error, "kept\n");
}

TEST_F(ToolRunnerTest, HiddenOutputGoesNowhereAndTheRestGoesOn)
{
    runner.hideOutput();
    ToolCall chatty = call("echo seen; echo kept >&2; exit 3");
    EXPECT_EQ(await(runner.run(chatty)).output, "seen\n") << "captured is not hidden";
    chatty.captureOutput = false;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const ToolOutcome outcome = await(runner.run(chatty));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(outcome.exitStatus, 3);
    EXPECT_EQ(outcome.error, "kept\n");

    chatty.captureError = false;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(await(runner.run(chatty)).exitStatus, 3);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "kept\n");
}

TEST_F(ToolRunnerTest, InterruptionReachesChildrenAndStopsLaterCalls)
{
    std::signal(
        SIGINT, [](int) {}); // a test that runs in the background ignores it, as a child would
    ToolCall cleaning = call("test -e $1/ready || { touch $1/ready; exec sleep 30; }; exit 6");
    cleaning.arguments = {scratch.path()};
    const QCoro::Task<ToolOutcome> running = runner.run(cleaning);
    ASSERT_TRUE(turnUntil([&] { return QFile::exists(scratch.path(u"ready"_s)); }));

    runner.interrupt();
    std::optional<ToolOutcome> ended;
    const auto watch = [&ended](const QCoro::Task<ToolOutcome>& task) -> QCoro::Task<> {
        ended = co_await task;
    };
    const QCoro::Task<> watching = watch(running);
    ASSERT_TRUE(turnUntil([&] { return ended.has_value(); }));
    EXPECT_EQ(ended->exitStatus, SIGINT);

    EXPECT_EQ(await(runner.run(cleaning)).launchError, u"Interrupted"_s);
    cleaning.evenWhenInterrupted = true;
    EXPECT_EQ(await(runner.run(cleaning)).exitStatus, 6);
    std::signal(SIGINT, SIG_DFL);
}

TEST_F(ToolRunnerTest, AChildOutlivesItsRunner)
{
    auto own = std::make_unique<HostToolRunner>(
        SystemRoot(scratch.path(u"tools"_s), scratch.path(u"state"_s)));
    QCoro::Task<ToolOutcome> running = own->run(call("sleep 0.2; echo late; exit 9"));
    own.reset();
    const ToolOutcome outcome = await(std::move(running));
    EXPECT_EQ(outcome.exitStatus, 9);
    EXPECT_EQ(outcome.output, "late\n");
}

TEST_F(ToolRunnerTest, AToolOfOursTellsHowFarItIs)
{
    const QByteArray script = "test -z \"$VANDOR_PROGRESS_FD\" && exit 5\n"
                              "exec 1>/dev/fd/$VANDOR_PROGRESS_FD\n"
                              "printf 'PERCENT:25.0\\nPERC'; printf 'ENT:75.5\\nnonsense\\n'\n"
                              "printf 'PERCENT:-1\\nPERCENT:nan\\nPERCENT:100.1\\n%0999d\\n'";
    QList<double> shares;
    ToolCall asking = call(script);
    asking.progress = [&](double share) { shares.append(share); };
    EXPECT_EQ(await(runner.run(asking)).exitStatus, 0);
    EXPECT_EQ(shares, (QList<double>{0.25, 0.755}));
    EXPECT_EQ(run(script).exitStatus, 5);
}
