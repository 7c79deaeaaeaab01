#include "ShellFixture.h"

using namespace Qt::StringLiterals;

namespace {

class ShellStreamingTest : public ShellFixture {
public:
    bool appears(const QString& name)
    {
        return turnUntil([&] { return QFile::exists(scratch.path(name)); });
    }
    /// The pieces of a command that does each part once all output of those before was read.
    QStringList piecesOf(const QStringList& parts)
    {
        const QString run = u"run %1 part "_s.arg(++m_runs);
        QString command;
        for (qsizetype i = 0; i < parts.size(); ++i) {
            const QString name = run + QString::number(i);
            command += parts[i] + u"; "_s + touch(name)
                + u"; until [[ -e '%1' ]] do sleep 0.01; "_s.arg(scratch.path(name + u" read"_s))
                + u"done; "_s;
        }
        const OutputSequence output = shell.runStreaming(command);
        for (qsizetype i = 0; i < parts.size(); ++i) {
            const QString name = run + QString::number(i);
            EXPECT_TRUE(appears(name));
            // What was printed before lies in the pipe: the next turns read it.
            turnUntil([turns = 0]() mutable { return ++turns > 3; });
            scratch.write(name + u" read"_s, "");
        }
        return pieces(output);
    }
    QString touch(const QString& name) const { return u"> '%1'"_s.arg(scratch.path(name)); }

private:
    int m_runs = 0;
};

TEST_F(ShellStreamingTest, HandsOutputOnAsText)
{
    struct Row {
        const char* name;
        QStringList parts;
        QStringList pieces;
    };
    const Row rows[] = {
        {"nothing", {u"true"_s}, {}},
        {"several lines are one piece", {u"printf 'a\\n\\n b'"_s}, {u"a\n\n b"_s}},
        {"standard error is marked", {u"print -u2 err"_s}, {u"[ERR] err\n"_s}},
        {"once a piece", {u"printf 'a\\nb\\n' >&2"_s}, {u"[ERR] a\nb\n"_s}},
        {"a character cut by a read", {u"printf 'x\\360\\237'"_s, u"printf '\\230\\200y'"_s},
            {u"x"_s, u"😀y"_s}},
        {"each stream has its own", {u"printf '\\303'"_s, u"printf 'e' >&2"_s, u"printf '\\251'"_s},
            {u"[ERR] e"_s, u"é"_s}},
        {"a piece that is no UTF-8 is left out",
            {u"printf 'bad\\377'"_s, u"printf '\\303('"_s, u"print good"_s}, {u"good\n"_s}},
        {"half a character at the end", {u"printf '\\342\\202'"_s}, {}},
        {"a byte order mark stays", {u"printf '\\357\\273\\277x'"_s}, {u"\uFEFFx"_s}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(piecesOf(row.parts), row.pieces) << row.name;
    EXPECT_EQ(pieces(shell.runStreaming(u"print out; exit 3"_s)), QStringList(u"out\n"_s))
        << "a failure just ends";
}

TEST_F(ShellStreamingTest, APieceComesWhileTheCommandRuns)
{
    OutputSequence output = shell.runStreaming(
        u"print first; for i in {1..200}; do [[ -e '%1' ]] && exit; sleep 0.1; done; print late"_s
            .arg(scratch.path(u"seen"_s)));
    EXPECT_EQ(await(output.next()), u"first\n"_s);
    scratch.write(u"seen"_s, "");
    EXPECT_EQ(await(output.next()), std::nullopt);
    EXPECT_EQ(await(output.next()), std::nullopt) << "an ended sequence stays so";
}

TEST_F(ShellStreamingTest, StartsAtOnceAndKeepsEverythingForALateReader)
{
    const OutputSequence output =
        shell.runStreaming(u"head -c 52428800 /dev/zero | tr '\\0' x; "_s + touch(u"done"_s));
    ASSERT_TRUE(appears(u"done"_s)) << "nobody has to read";
    qsizetype size = 0;
    for (const QString& piece : pieces(output))
        size += piece.count(u'x');
    EXPECT_EQ(size, 52428800);
}

TEST_F(ShellStreamingTest, RunsOnWhenNobodyReads)
{
    shell.runStreaming(u"print a; sleep 0.2; print b; "_s + touch(u"dropped"_s));
    EXPECT_TRUE(appears(u"dropped"_s));

    {
        OutputSequence output =
            shell.runStreaming(u"print a; sleep 0.2; print b; "_s + touch(u"left"_s));
        EXPECT_EQ(await(output.next()), u"a\n"_s);
        const QCoro::Task<std::optional<QString>> waiting = output.next();
    }
    EXPECT_TRUE(appears(u"left"_s));
}

TEST_F(ShellStreamingTest, StartsInAFolder)
{
    const QString folder = scratch.path(u"My Folder"_s);
    QDir().mkpath(folder);
    EXPECT_EQ(pieces(shell.runStreaming(u"pwd"_s, folder)), QStringList(folder + u'\n'));
}

TEST_F(ShellStreamingTest, WhatCannotStartIsOnePiece)
{
    const QStringList noFolder = pieces(shell.runStreaming(u"pwd"_s, scratch.path(u"no"_s)));
    ASSERT_EQ(noFolder.size(), 1);
    EXPECT_TRUE(noFolder[0].startsWith("Failed to launch command: Could not start"_L1));

    QFile::remove(zsh());
    EXPECT_EQ(pieces(shell.runStreaming(u"true"_s)),
        QStringList(u"Failed to launch command: Could not start “/bin/zsh”: "
                    u"No such file or directory."_s));
}

} // namespace
