#include "platform/HostToolRunner.h"
#include "platform/OsaScriptRunner.h"

#include "Await.h"
#include "Scratch.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(AppleScript, TheMessageStandsBetweenTheRangeAndTheNumber)
{
    struct Row {
        const char* name;
        QString text;
        std::optional<QString> message;
    };
    const Row rows[] = {
        {"a run-time error",
            u"85:89: execution error: Finder got an error: Can’t get disk \"X\". (-1728)\n"_s,
            u"Finder got an error: Can’t get disk \"X\"."_s},
        {"a syntax error", u"1:4: syntax error: Expected “\"” but found (odd) thing. (-2741)"_s,
            u"Expected “\"” but found (odd) thing."_s},
        {"with the script's name",
            u"/tmp/a: b:12:19: script error: Expected end of line. (-2741)"_s,
            u"Expected end of line."_s},
        {"several lines", u"0:1: execution error: one\ntwo (3) (-2700)"_s, u"one\ntwo (3)"_s},
        {"a message that looks like a range",
            u"0:1: execution error: 2:3: execution error: x (-1)"_s, u"2:3: execution error: x"_s},
        {"no number", u"0:1: execution error: Timeout"_s, std::nullopt},
        {"an empty message", u"0:1: execution error:  (-2700)"_s, std::nullopt},
        {"another text", u"osascript: no such file"_s, std::nullopt},
        {"nothing", u""_s, std::nullopt},
    };
    for (const Row& row : rows)
        EXPECT_EQ(OsaScriptRunner::messageIn(row.text), row.message) << row.name;
}

TEST(AppleScript, TheScriptGoesInAndTheErrorComesOut)
{
    const Scratch scratch;
    HostToolRunner tools(SystemRoot(scratch.path(u"tools"_s), scratch.path(u"state"_s)));
    OsaScriptRunner runner(tools);

    const ScriptOutcome missing = await(runner.run(u"beep"_s));
    EXPECT_TRUE(missing.failed);
    EXPECT_TRUE(missing.message && missing.message->contains("/usr/bin/osascript"_L1));

    scratch.writeTool(u"/usr/bin/osascript"_s, "cat > $VANDOR_STATE.script");
    EXPECT_EQ(await(runner.run(u"say \"é\"\n"_s)), ScriptOutcome());
    EXPECT_EQ(QString::fromUtf8(Scratch::read(scratch.path(u"state.script"_s))), u"say \"é\"\n"_s);

    scratch.writeTool(u"/usr/bin/osascript"_s,
        "echo '0:5: execution error: Timeout waiting. (-2700)' >&2; exit 1");
    ScriptOutcome failed;
    failed.failed = true;
    failed.information = u"0:5: execution error: Timeout waiting. (-2700)"_s;
    failed.message = u"Timeout waiting."_s;
    EXPECT_EQ(await(runner.run(u"beep"_s)), failed);

    scratch.writeTool(u"/usr/bin/osascript"_s, "kill -SEGV $$");
    const ScriptOutcome crashed = await(runner.run(u"beep"_s));
    EXPECT_TRUE(crashed.failed);
    EXPECT_FALSE(crashed.information.isEmpty());
    EXPECT_FALSE(crashed.message);
}
