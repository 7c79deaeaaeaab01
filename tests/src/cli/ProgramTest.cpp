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

TEST_F(ProgramTest, TwoRunsOfOneVolumeNameSweepUpAfterAKilledOneAndDoNotMeet)
{
    QProcess killed;
    start(killed, {u"build"_s, u"Example.app"_s, u"-o"_s, u"c.dmg"_s});
    killed.setReadChannel(QProcess::StandardError);
    ASSERT_TRUE(killed.waitForReadyRead(watchdog));
    ::kill(static_cast<pid_t>(killed.processId()), SIGKILL);
    ASSERT_TRUE(killed.waitForFinished(watchdog));
    EXPECT_EQ(sessions().size(), 1);

    QProcess first;
    QProcess second;
    start(first, {u"build"_s, u"Example.app"_s, u"-o"_s, u"a.dmg"_s, u"--verbose"_s});
    start(second, {u"build"_s, u"Example.app"_s, u"-o"_s, u"b.dmg"_s, u"--quiet"_s});
    QProcess usual;
    start(usual, {u"build"_s, u"Example.app"_s, u"-o"_s, u"d.dmg"_s});
    for (QProcess* const program : {&first, &second, &usual})
        ASSERT_TRUE(program->waitForFinished(watchdog));
    EXPECT_EQ(first.readAllStandardOutput(), folder.filePath(u"a.dmg\n"_s).toUtf8());
    EXPECT_EQ(second.readAllStandardOutput(), folder.filePath(u"b.dmg\n"_s).toUtf8());
    EXPECT_TRUE(first.readAllStandardError().contains("noise\n"));
    EXPECT_EQ(second.readAllStandardError(), "");
    const QByteArray log = usual.readAllStandardError();
    EXPECT_TRUE(log.contains("Done! DMG Saved to d.dmg\n")) << log.toStdString();
    EXPECT_FALSE(log.contains("noise")) << "a tool's chatter is for who asks for it";
    EXPECT_EQ(sessions(), QStringList());
    EXPECT_EQ(QDir(folder.path()).entryList({u".vandor-*"_s}, QDir::AllEntries | QDir::Hidden),
        QStringList());
}

TEST_F(ProgramTest, EndsItsWorkWhoeverHasStoppedListening)
{
    struct Row {
        const char* name;
        QString streams; // the shell's redirections
    };
    const Row rows[] = {
        {"no streams at all", u"--verbose 0<&- 1>&- 2>&-"_s},
        {"no standard error", u"--verbose 2>&- >results"_s},
        {"readers that go at once", u"2>&1 | true"_s},
    };
    std::vector<std::unique_ptr<QProcess>> runs;
    int number = 0;
    for (const Row& row : rows) {
        const QString command =
            u"bin/vandor build Example.app -o %1.dmg %2"_s.arg(number++).arg(row.streams);
        runs.push_back(std::make_unique<QProcess>());
        startProgram(*runs.back(), u"/bin/sh"_s, {u"-c"_s, command});
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        ASSERT_TRUE(runs[i]->waitForFinished(watchdog));
        const QString image = folder.filePath(u"%1.dmg"_s.arg(i));
        EXPECT_TRUE(QFile::exists(image)) << rows[i].name;
        EXPECT_EQ(readFile(image), "UDZO of image\n") << rows[i].name;
    }
    EXPECT_EQ(readFile(folder.filePath(u"results"_s)), folder.filePath(u"1.dmg\n"_s).toUtf8());
    EXPECT_EQ(sessions(), QStringList());
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
