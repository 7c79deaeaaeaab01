#include "CommandFixture.h"
#include "SigningTools.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

const QString adaPrint = u"0123456789ABCDEF0123456789ABCDEF01234567"_s;
const QString bobPrint = u"FEDCBA9876543210FEDCBA9876543210FEDCBA98"_s;
const QString ada = u"Developer ID Application: Ada (TEAM)"_s;

class SigningCommands : public CommandFixture {
public:
    SigningCommands()
    {
        host.rootOfUser = [this] { return SystemRoot(scripted.path(), path(u"state"_s)); };
        qputenv("HOME", QFile::encodeName(folder()));
        list(identityLine(adaPrint, ada));
        writeFile(path(u"out/My App.dmg"_s), "image");
    }
    ~SigningCommands() override { qputenv("HOME", m_home); }

    void list(const QString& lines) const
    {
        signing.answer(u"find-identity"_s, u"cat <<'END'\n"_s + lines + u"END\n"_s);
    }
    QJsonObject lastEvent() const
    {
        const QByteArray line = results().trimmed().toUtf8().split('\n').last();
        return QJsonDocument::fromJson(line).object();
    }

    const SigningTools signing{path(u"signing"_s), scripted.path()};

private:
    QByteArray m_home = qgetenv("HOME");
};

TEST_F(SigningCommands, ListIdentities)
{
    list(identityLine(adaPrint, ada) + identityLine(bobPrint, u"Bob"_s));
    defaults.set(u"SavedSigningIdentitySHA1"_s, bobPrint);
    EXPECT_EQ(run({u"identities"_s}), 0);
    EXPECT_EQ(results(), adaPrint + u' ' + ada + u'\n' + bobPrint + u" Bob\n"_s);
    EXPECT_EQ(messages(), u"Restored saved identity: Bob\nFound 2 identities.\n"_s);

    const qsizetype before = results().size();
    EXPECT_EQ(run({u"identities"_s, u"--json"_s}), 0);
    const QString json = results().sliced(before);
    EXPECT_EQ(json.count(u"\"schema\":\"vandor.identities/1\""_s), json.count(u'\n'));
    EXPECT_TRUE(json.contains(
        u"{\"event\":\"identity\",\"name\":\"Bob\",\"schema\":"
        u"\"vandor.identities/1\",\"selected\":true,\"sha1\":\"%1\"}"_s.arg(bobPrint)))
        << qPrintable(json);
    EXPECT_EQ(lastEvent()[u"count"_s], 2);

    list({});
    EXPECT_EQ(run({u"identities"_s}), 0) << "none is an answer, too";
}

TEST_F(SigningCommands, SayWhatIsMissing)
{
    signing.answer(u"find-identity"_s, u"printf '\\377'"_s);
    EXPECT_EQ(run({u"identities"_s}), 1);
    EXPECT_EQ(messages().count("is not UTF-8 text"_L1), 1) << "said once";

    signing.remove(u"/usr/bin/security"_s);
    EXPECT_EQ(run({u"identities"_s, u"--json"_s}), 1);
    EXPECT_EQ(lastEvent()[u"tool"_s], u"/usr/bin/security"_s);
    EXPECT_EQ(lastEvent()[u"said"_s],
        u"Could not start “/usr/bin/security”: No such file or directory."_s);
    EXPECT_TRUE(lastEvent()[u"remedy"_s].toString().startsWith("Install this program again"_L1));
    EXPECT_EQ(messages().count("Could not start"_L1), 1) << qPrintable(messages());
}

TEST_F(SigningCommands, SignAnImage)
{
    EXPECT_EQ(run({u"sign"_s, u"out/My App.dmg"_s}), 0);
    EXPECT_EQ(results(), path(u"out/My App.dmg\n"_s));
    EXPECT_EQ(messages(),
        u"Found 1 identities.\nSigning My App.dmg...\nIdentity: %1\n%2: signed\n"
        u"Verifying signature...\n✅ Signing Successful!\n"_s.arg(ada, path(u"out/My App.dmg"_s)));
    EXPECT_EQ(signing.calls()[1],
        u"codesign <--force> <--sign> <%1> <--timestamp> <--verbose> <%2>"_s.arg(
            adaPrint, path(u"out/My App.dmg"_s)));
    EXPECT_EQ(defaults.string(u"SavedSigningIdentitySHA1"_s), std::nullopt);
}

TEST_F(SigningCommands, SignAnApplicationBehindALink)
{
    list(identityLine(adaPrint, ada) + identityLine(bobPrint, u"Bob"_s));
    signing.answer(u"inspect"_s, u"echo Authority=Bob >&2"_s);
    QFile::link(path(u"Example.app"_s), path(u"link"_s));
    EXPECT_EQ(run({u"sign"_s, u"link"_s, u"--identity"_s, u"Bob"_s, u"--json"_s, u"--quiet"_s}), 0)
        << qPrintable(messages());
    EXPECT_EQ(results().count(u'\n'), 1);
    EXPECT_EQ(messages(), QString());
    EXPECT_EQ(silenced, 1);
    const QJsonObject identity{{u"sha1"_s, bobPrint}, {u"name"_s, u"Bob"_s}};
    EXPECT_EQ(lastEvent(),
        (QJsonObject{{u"schema"_s, u"vandor.sign/1"_s}, {u"event"_s, u"result"_s},
            {u"status"_s, u"success"_s}, {u"kind"_s, u"application"_s},
            {u"path"_s, QFileInfo(path(u"Example.app"_s)).canonicalFilePath()},
            {u"identity"_s, identity}, {u"authority"_s, u"Bob (Non-Distribution)"_s}}));
    EXPECT_TRUE(
        signing.calls()[1].startsWith("codesign <--force> <--options> <runtime> <--deep>"_L1));
}

TEST_F(SigningCommands, FailWithTheToolsWordsAndARemedy)
{
    struct Row {
        const char* name;
        std::function<void(const SigningCommands&)> prepare;
        QString step;
        QString tool;
        QString said;
        QString remedy; // its beginning
    };
    const Row rows[] = {
        {"no identity", [](const SigningCommands& test) { test.list({}); },
            u"finding an identity"_s, u"/usr/bin/security"_s,
            u"There is no valid identity for signing code."_s, u"Import a Developer ID"_s},
        {"a refusal",
            [](const SigningCommands& test) {
                test.signing.answer(u"sign"_s, u"echo 'no timestamp' >&2; exit 1"_s);
                test.signing.answer(u"verify"_s, u"echo 'not signed at all' >&2; exit 3"_s);
            },
            u"signing"_s, u"/usr/bin/codesign"_s,
            u"no timestamp\nThe command ended with status 3: not signed at all"_s, u"See that “"_s},
        {"an older signature still holds",
            [](const SigningCommands& test) {
                test.signing.answer(u"sign"_s, u"echo 'no timestamp' >&2; exit 1"_s);
                test.signing.answer(u"inspect"_s, u"echo 'Authority=%1' >&2"_s.arg(ada));
            },
            u"signing"_s, u"/usr/bin/codesign"_s,
            u"no timestamp\nThe signature on it is an older one."_s, u"See that “"_s},
        {"no signing tool",
            [](const SigningCommands& test) { test.signing.remove(u"/usr/bin/codesign"_s); },
            u"signing"_s, u"/usr/bin/codesign"_s,
            u"zsh:1: no such file or directory: /usr/bin/codesign\n"
            u"The command ended with status 127: zsh:1: no such file or directory: "
            u"/usr/bin/codesign"_s,
            u"Install this program again"_s},
        {"no shell", [](const SigningCommands& test) { test.signing.remove(u"/bin/zsh"_s); },
            u"signing"_s, u"/bin/zsh"_s,
            u"Could not start “/bin/zsh”: No such file or directory."_s,
            u"Install this program again"_s},
    };
    for (const Row& row : rows) {
        for (const QString& subject : {u"out/My App.dmg"_s, u"Example.app"_s}) {
            SigningCommands test;
            row.prepare(test);
            EXPECT_EQ(test.run({u"sign"_s, subject, u"--json"_s}), 1) << row.name;
            const QJsonObject result = test.lastEvent();
            EXPECT_EQ(result[u"status"_s], u"failed"_s) << row.name;
            EXPECT_EQ(result[u"step"_s], row.step) << row.name;
            EXPECT_EQ(result[u"tool"_s], row.tool) << row.name;
            EXPECT_EQ(result[u"said"_s], row.said)
                << row.name << qPrintable(result[u"said"_s].toString());
            EXPECT_TRUE(result[u"remedy"_s].toString().startsWith(row.remedy)) << row.name;
            EXPECT_TRUE(test.messages().contains(
                u"not signed: %1 failed.\n  Tool: %2\n"_s.arg(row.step, row.tool)))
                << row.name << qPrintable(test.messages());
        }
    }
}

TEST_F(SigningCommands, RefuseWhatMakesNoSense)
{
    list(identityLine(adaPrint, ada) + identityLine(bobPrint, u"Bob"_s));
    struct Row {
        const char* name;
        QStringList arguments; // after "sign"
        QString reason;
    };
    const Row rows[] = {
        {"nothing named", {}, u"PATH is required"_s},
        {"nothing there", {u"No.app"_s}, u"there is nothing at"_s},
        {"another file", {u"sea.png"_s}, u"is neither"_s},
        {"another folder", {u"out"_s}, u"is neither"_s},
        {"a choice left open", {u"Example.app"_s}, u"name one with --identity"_s},
        {"no such identity", {u"Example.app"_s, u"--identity"_s, u"Zoe"_s}, u"no identity “Zoe”"_s},
        {"an unknown option", {u"Example.app"_s, u"--planned"_s}, u"--planned"_s},
    };
    for (const Row& row : rows) {
        const qsizetype before = messages().size();
        EXPECT_EQ(run(QStringList{u"sign"_s} + row.arguments), 2) << row.name;
        EXPECT_TRUE(messages().sliced(before).contains(row.reason))
            << row.name << ": " << qPrintable(messages().sliced(before));
    }
    EXPECT_EQ(signing.calls().filter(u"<--force>"_s), QStringList());
}

TEST_F(SigningCommands, EndWhenInterrupted)
{
    QDir(folder()).mkpath(u"bin"_s);
    QFile::copy(u"" PROGRAMS_DIR "/vandor"_s, path(u"bin/vandor"_s));
    signing.answer(
        u"sign"_s, u"trap 'exit 1' INT; > '%1'; while sleep 1; do :; done"_s.arg(path(u"ready"_s)));
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_CONFIG_HOME"_s, folder());
    environment.insert(u"XDG_DATA_HOME"_s, folder());
    program.setProcessEnvironment(environment);
    program.start(path(u"bin/vandor"_s), {u"sign"_s, u"Example.app"_s, u"--json"_s});
    for (int i = 0; i < 600 && !QFile::exists(path(u"ready"_s)); ++i)
        program.waitForReadyRead(100);
    ASSERT_TRUE(QFile::exists(path(u"ready"_s)));
    ::kill(static_cast<pid_t>(program.processId()), SIGTERM);
    ASSERT_TRUE(program.waitForFinished(60'000)) << "the tool goes on";
    EXPECT_EQ(program.exitCode(), 130);
    EXPECT_TRUE(program.readAllStandardOutput().endsWith(
        "{\"event\":\"result\",\"schema\":\"vandor.sign/1\",\"status\":\"interrupted\"}\n"));
    EXPECT_EQ(signing.calls().filter(u"<--verify>"_s), QStringList());
}

} // namespace
