#include "ScriptedTools.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr int watchdog = 60'000; // ms; the product's own waits take six seconds

/// The real program, beside a toolbox of scripts.
class ProgramTest : public testing::Test {
protected:
    ProgramTest()
        : scripted(folder.path(), u"toolbox"_s)
    {
        QDir(folder.path()).mkpath(u"bin"_s);
        QDir(folder.path()).mkpath(u"tmp"_s);
        QFile::copy(QStringLiteral(PROGRAMS_DIR "/vandor"), folder.filePath(u"bin/vandor"_s));
        writeFile(folder.filePath(u"Example.app/Contents/MacOS/Example"_s), "code");
        scripted.script(u"hdiutil"_s, u"create"_s, u"echo noise; echo image > \"$last\""_s);
    }

    void start(QProcess& program, const QStringList& arguments) const
    {
        startProgram(program, folder.filePath(u"bin/vandor"_s), arguments);
    }
    void startProgram(QProcess& program, const QString& path, const QStringList& arguments) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const QString& name : {u"HOME"_s, u"XDG_CONFIG_HOME"_s, u"XDG_DATA_HOME"_s})
            environment.insert(name, folder.path());
        environment.insert(u"TMPDIR"_s, folder.filePath(u"tmp"_s));
        program.setProcessEnvironment(environment);
        program.setWorkingDirectory(folder.path());
        program.start(path, arguments);
    }

    QStringList sessions() const
    {
        const QDir common(folder.filePath(u"tmp/vandor-%1"_s.arg(::getuid())));
        return common.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    }

    const QTemporaryDir folder;
    const ScriptedTools scripted;
};

TEST_F(ProgramTest, TellsItsVersionAndHelpOnStandardOutput)
{
    struct Row {
        QStringList arguments;
        int status;
        QByteArray output; // some of it
        QByteArray errors; // likewise
    };
    const Row rows[] = {
        {{u"--version"_s}, 0, "vandor 1.", ""},
        {{u"--help"_s}, 0, "build", ""},
        {{u"build"_s, u"--help"_s}, 0, "--volume-name", ""},
        {{}, 2, "", "vandor: A command is required\nRun “vandor --help” for more.\n"},
        {{u"bake"_s}, 2, "", "bake"},
        {{u"build"_s}, 2, "", "vandor build: APP is required\nRun “vandor build --help”"},
        {{u"build"_s, u"No.app"_s, u"--json"_s}, 2, "\"status\":\"misused\"", "No.app"},
        {{u"sign"_s, u"No.app"_s, u"--json"_s}, 2, "\"status\":\"misused\"", "No.app"},
        {{u"sign"_s, u"--json"_s}, 2,
            "{\"event\":\"result\",\"message\":\"PATH is required\",\"schema\":"
            "\"vandor.sign/1\",\"status\":\"misused\"}\n",
            "vandor sign: PATH is required"},
        {{u"bake"_s, u"--json"_s}, 2, "\"schema\":\"vandor/1\"", "bake"},
    };
    for (const Row& row : rows) {
        QProcess program;
        start(program, row.arguments);
        ASSERT_TRUE(program.waitForFinished(watchdog));
        EXPECT_EQ(program.exitCode(), row.status) << qPrintable(row.arguments.join(u' '));
        const QByteArray output = program.readAllStandardOutput();
        EXPECT_TRUE(output.contains(row.output)) << output.toStdString();
        EXPECT_EQ(output.isEmpty(), row.output.isEmpty());
        const QByteArray errors = program.readAllStandardError();
        EXPECT_TRUE(errors.contains(row.errors)) << errors.toStdString();
        EXPECT_EQ(errors.isEmpty(), row.errors.isEmpty()) << errors.toStdString();
    }
}

TEST_F(ProgramTest, RunsDoNotMeetAndSweepUpAfterAKilledOneWhoeverListens)
{
    QProcess killed;
    start(killed, {u"build"_s, u"Example.app"_s, u"-o"_s, u"killed.dmg"_s});
    killed.setReadChannel(QProcess::StandardError);
    ASSERT_TRUE(killed.waitForReadyRead(watchdog));
    ::kill(static_cast<pid_t>(killed.processId()), SIGKILL);
    ASSERT_TRUE(killed.waitForFinished(watchdog));
    EXPECT_EQ(sessions().size(), 1);

    struct Row {
        const char* name;
        QString image;
        QString options; // the shell's redirections included
    };
    const Row rows[] = {
        {"usual", u"usual.dmg"_s, u"2> usual.log > usual.out"_s},
        {"verbose", u"verbose.dmg"_s, u"--verbose 2> verbose.log > verbose.out"_s},
        {"quiet", u"quiet.dmg"_s, u"--quiet 2> quiet.log > quiet.out"_s},
        {"no streams at all", u"1.dmg"_s, u"--verbose 0<&- 1>&- 2>&-"_s},
        {"no standard error", u"2.dmg"_s, u"--verbose 2>&- > deaf.out"_s},
        {"readers that go at once", u"3.dmg"_s, u"2>&1 | true"_s},
    };
    std::vector<std::unique_ptr<QProcess>> runs; // at once: each waits six seconds
    for (const Row& row : rows) {
        const QString command =
            u"bin/vandor build Example.app -o %1 %2"_s.arg(row.image, row.options);
        runs.push_back(std::make_unique<QProcess>());
        startProgram(*runs.back(), u"/bin/sh"_s, {u"-c"_s, command});
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        ASSERT_TRUE(runs[i]->waitForFinished(watchdog)) << rows[i].name;
        EXPECT_EQ(readFile(folder.filePath(rows[i].image)), "UDZO of image\n") << rows[i].name;
    }
    const auto said = [this](const QString& file) { return readFile(folder.filePath(file)); };
    EXPECT_EQ(said(u"usual.out"_s), folder.filePath(u"usual.dmg\n"_s).toUtf8());
    EXPECT_TRUE(said(u"usual.log"_s).contains("Done! DMG Saved to usual.dmg\n"));
    EXPECT_FALSE(said(u"usual.log"_s).contains("noise"))
        << "a tool's chatter is for who asks for it";
    EXPECT_TRUE(said(u"verbose.log"_s).contains("noise\n"));
    EXPECT_EQ(said(u"quiet.out"_s), folder.filePath(u"quiet.dmg\n"_s).toUtf8());
    EXPECT_EQ(said(u"quiet.log"_s), "");
    EXPECT_EQ(said(u"deaf.out"_s), folder.filePath(u"2.dmg\n"_s).toUtf8());
    EXPECT_EQ(sessions(), QStringList());
    EXPECT_EQ(QDir(folder.path()).entryList({u".vandor-*"_s}, QDir::AllEntries | QDir::Hidden),
        QStringList());
}

TEST_F(ProgramTest, AMissingTemporaryFolderIsNotReplacedByTheCurrentOne)
{
    QDir(folder.path()).rmdir(u"tmp"_s);
    QProcess program;
    start(program, {u"build"_s, u"Example.app"_s});
    ASSERT_TRUE(program.waitForFinished(watchdog));
    EXPECT_EQ(program.exitCode(), 1);
    EXPECT_TRUE(program.readAllStandardError().contains("TMPDIR"));
    EXPECT_EQ(QDir(folder.path()).entryList({u"*vandor-*"_s}, QDir::AllEntries | QDir::Hidden),
        QStringList());
}

} // namespace
