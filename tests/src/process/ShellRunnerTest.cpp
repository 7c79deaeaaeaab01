#include "ShellFixture.h"

#include "process/ShellQuoting.h"

#include <csignal>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

class ShellRunnerTest : public ShellFixture { };

TEST_F(ShellRunnerTest, GivesTrimmedStandardOutput)
{
    struct Row {
        const char* name;
        QString command;
        QString output;
    };
    const Row rows[] = {
        {"nothing", u"true"_s, u""_s},
        {"white space alone", u"printf ' \\t\\n\\r\\n '"_s, u""_s},
        {"white space around words", u"printf ' \\n two  words\\t\\n'"_s, u"two  words"_s},
        {"standard error is thrown away", u"print -u2 why; print out"_s, u"out"_s},
        {"standard error sent along", u"{ print -u2 why; print out } 2>&1"_s, u"why\nout"_s},
        {"characters of many bytes", u"print -r 'é “x” 😀'"_s, u"é “x” 😀"_s},
        {"no UTF-8", u"printf 'good\\n\\377'"_s, u""_s},
        {"half a character at the end", u"printf 'good\\303'"_s, u""_s},
        {"the shell is the Z shell", u"print ${(U):-word} ${ZSH_VERSION:+yes}"_s, u"WORD yes"_s},
    };
    for (const Row& row : rows)
        EXPECT_EQ(run(row.command), row.output) << row.name;
}

TEST_F(ShellRunnerTest, AFailureCarriesStatusAndBothStreams)
{
    struct Row {
        const char* name;
        QString command;
        int status;
        QString text;
    };
    const Row rows[] = {
        {"standard error alone", u"print -u2 ' why'; exit 1"_s, 1, u" why\n"_s},
        {"standard output alone", u"printf ' part '; exit 2"_s, 2, u" part \n"_s},
        {"both", u"print out; print -u2 err; exit 3"_s, 3, u"out\n\nerr\n"_s},
        {"neither", u"exit 4"_s, 4, u""_s},
        {"one of them no UTF-8", u"printf '\\377'; print -u2 err; exit 5"_s, 5, u"err\n"_s},
        {"killed", u"printf part; kill -TERM $$"_s, SIGTERM, u"part\n"_s},
        {"no such command", u"/nowhere/tool"_s, 127,
            u"zsh:1: no such file or directory: /nowhere/tool\n"_s},
    };
    for (const Row& row : rows) {
        const auto error = failure(row.command);
        ASSERT_TRUE(error) << row.name;
        EXPECT_EQ(error->which(), ShellError::Case::commandFailed) << row.name;
        EXPECT_EQ(error->exitStatus(), row.status) << row.name;
        EXPECT_EQ(error->text(), row.text) << row.name;
    }
}

TEST_F(ShellRunnerTest, AMissingShellIsALaunchFailure)
{
    QFile::remove(zsh());
    const auto error = failure(u"true"_s);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->which(), ShellError::Case::executionFailed);
    EXPECT_EQ(error->text(), u"Could not start “/bin/zsh”: No such file or directory."_s);
    EXPECT_EQ(error->description(), error->text());
}

TEST_F(ShellRunnerTest, AFailureReadsWellAndShowsItsValues)
{
    const ShellError refused = ShellError::commandFailed(3, u"\nnot signed %1\n"_s);
    EXPECT_EQ(refused.description(), u"The command ended with status 3: not signed %1"_s);
    EXPECT_EQ(refused.what(), refused.description().toStdString());
    EXPECT_EQ(refused.rendering(), u"commandFailed(3, \"\nnot signed %1\n\")"_s);
    EXPECT_EQ(
        ShellError::commandFailed(1, u" "_s).description(), u"The command ended with status 1."_s);
}

TEST_F(ShellRunnerTest, OnlyTheSearchPathIsNotInherited)
{
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "/secret/bin:" + path);
    qputenv("VANDOR_TEST_MARK", "a  b");
    EXPECT_EQ(run(u"/usr/bin/printenv PATH"_s), u"/usr/bin:/bin:/usr/sbin:/sbin:/usr/local/bin"_s);
    EXPECT_EQ(run(u"/usr/bin/printenv VANDOR_TEST_MARK"_s), u"a  b"_s);
    EXPECT_EQ(pieces(shell.runStreaming(u"/usr/bin/printenv PATH"_s)),
        QStringList(u"/usr/bin:/bin:/usr/sbin:/sbin:/usr/local/bin\n"_s));
    qputenv("PATH", path);
    qunsetenv("VANDOR_TEST_MARK");
}

TEST_F(ShellRunnerTest, StandardInputIsOurOwn)
{
    const int ours = ::dup(STDIN_FILENO);
    QFile input(scratch.write(u"input"_s, "typed\n"));
    ASSERT_TRUE(input.open(QFile::ReadOnly));
    ::dup2(input.handle(), STDIN_FILENO);
    EXPECT_EQ(run(u"cat"_s), u"typed"_s);
    ::dup2(ours, STDIN_FILENO);
    ::close(ours);
}

TEST_F(ShellRunnerTest, QuotedTextIsOneLiteralArgument)
{
    const QString ordinary = u"/Users/Zoë/My App's (1) *.app"_s;
    EXPECT_EQ(shellQuoted(ordinary), u'"' + ordinary + u'"');
    for (const QString& text :
        {ordinary, u"$HOME ${PATH} $(id) `id`"_s, u"\"; touch x; \""_s, u"back\\slash\\"_s,
            u"\\$\\`\\\""_s, u"!! !x"_s, u"two\nlines\t"_s, u""_s, u"~ = [a-z] {a,b} #x"_s})
        EXPECT_EQ(run(u"printf '<%s>' "_s + shellQuoted(text)), u'<' + text + u'>');
}

TEST_F(ShellRunnerTest, AFloodIsTakenInWhole)
{
    const QString output =
        run(u"head -c 104857600 /dev/zero | tr '\\0' x; head -c 20971520 /dev/zero >&2"_s);
    EXPECT_EQ(output.size(), 104857600);
    EXPECT_EQ(output.count(u'x'), 104857600);
}

TEST_F(ShellRunnerTest, AGrandchildThatHoldsTheStreamsIsNotWaitedFor)
{
    // Both outlast the watchdog.
    for (const QString& grandchild : {u"sleep 300"_s, u"timeout 300 yes"_s}) {
        // What was written before the end is there.
        const QString output = run(grandchild + u" & print last $!; exit 0"_s);
        const qsizetype last = output.indexOf("last "_L1);
        ASSERT_GE(last, 0) << qPrintable(output);
        const QString number = output.sliced(last + 5).section(u'\n', 0, 0);
        ASSERT_GT(number.toInt(), 1);
        ::kill(number.toInt(), SIGTERM); // unless the closed pipe has ended it
    }
}

TEST_F(ShellRunnerTest, ManyRunsAtOnceDoNotMeet)
{
    constexpr int count = 40;
    std::vector<QCoro::Task<QString>> runs;
    for (int i = 0; i < count; ++i)
        runs.push_back(shell.runSync(u"sleep 0.1; print %1"_s.arg(i)));
    for (int i = 0; i < count; ++i)
        EXPECT_EQ(await(std::move(runs[static_cast<size_t>(i)])), QString::number(i));
}

TEST_F(ShellRunnerTest, AnInterruptionReachesTheToolBehindTheShell)
{
    scratch.writeTool(u"/usr/bin/wait"_s,
        "trap 'echo stopped > " + scratch.encoded(u"mark"_s) + "; exit 1' INT\necho > "
            + scratch.encoded(u"ready"_s) + "\nwhile sleep 1; do :; done");
    const auto action = std::signal(SIGINT, SIG_DFL); // a child would go on ignoring it
    const OutputSequence running =
        shell.runStreaming(shellQuoted(scratch.path(u"tools/usr/bin/wait"_s)) + u"; true"_s);
    ASSERT_TRUE(turnUntil([&] { return QFile::exists(scratch.path(u"ready"_s)); }));
    tools.interrupt();
    EXPECT_TRUE(turnUntil([&] { return QFile::exists(scratch.path(u"mark"_s)); }));
    EXPECT_EQ(failure(u"true"_s)->text(), u"Interrupted"_s);
    std::signal(SIGINT, action);
}

} // namespace
