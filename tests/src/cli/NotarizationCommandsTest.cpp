#include "CommandFixture.h"
#include "NotaryTools.h"
#include "SigningTools.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace {

const QString identifier = u"2efe2717-52ef-43a5-96dc-0797e4ca1041"_s;

class NotarizationCommands : public CommandFixture {
public:
    NotarizationCommands()
    {
        host.rootOfUser = [this] { return SystemRoot(scripted.path(), path(u"state"_s)); };
        host.readSecret = [this](const QString&) { return password; };
        qputenv("HOME", QFile::encodeName(folder()));
        writeFile(image, "image");
        scripted.script(u"hdiutil"_s, u"verify"_s, valid);
    }
    ~NotarizationCommands() override { qputenv("HOME", m_home); }

    QList<QJsonObject> eventsNamed(const QString& name) const
    {
        QList<QJsonObject> found;
        for (const QByteArray& line : results().trimmed().toUtf8().split('\n')) {
            const QJsonObject event = QJsonDocument::fromJson(line).object();
            if (event[u"event"_s] == name)
                found += event;
        }
        return found;
    }
    QJsonObject result() const { return eventsNamed(u"result"_s).value(0); }

    const QString image = path(u"out/My App.dmg"_s);
    const QString application = path(u"Example.app"_s);
    const QString valid = u"echo 'hdiutil: verify: checksum of \"x\" is VALID' >&2"_s;
    const SigningTools signing{path(u"signing"_s), scripted.path()};
    const NotaryTools notary{path(u"notary"_s), scripted.path()};
    std::optional<QString> password;

private:
    QByteArray m_home = qgetenv("HOME");
};

TEST_F(NotarizationCommands, NotarizeAnApplicationInAnArchive)
{
    EXPECT_EQ(
        run({u"notarize"_s, u"Example.app"_s, u"--profile"_s, u"My Profile"_s, u"--json"_s}), 0)
        << qPrintable(messages());
    const QStringList calls = notary.calls();
    ASSERT_EQ(calls.size(), 4) << qPrintable(calls.join(u'\n'));
    EXPECT_TRUE(calls[0].startsWith(u"ditto <-c> <-k> <--keepParent> <%1> <"_s.arg(application)));
    EXPECT_TRUE(
        calls[1].endsWith("/Example.app.zip> <--keychain-profile> <My Profile> <--wait>"_L1));
    EXPECT_EQ(calls[3], u"xcrun <stapler> <validate> <%1>"_s.arg(application));
    EXPECT_EQ(eventsNamed(u"submission"_s).value(0)[u"submission"_s], identifier);
    EXPECT_EQ(result(),
        (QJsonObject{{u"schema"_s, u"vandor.notarize/1"_s}, {u"event"_s, u"result"_s},
            {u"status"_s, u"success"_s}, {u"kind"_s, u"application"_s}, {u"path"_s, application},
            {u"profile"_s, u"My Profile"_s}, {u"submission"_s, identifier}}));
    EXPECT_EQ(defaults.string(u"SavedNotaryProfileName"_s), std::nullopt)
        << "the user's own choice stays";
    EXPECT_EQ(leftBehind(), QStringList());
}

TEST_F(NotarizationCommands, NotarizeAnImageByTheRememberedProfile)
{
    defaults.set(u"SavedNotaryProfileName"_s, u"mine"_s);
    EXPECT_EQ(run({u"notarize"_s, u"out/My App.dmg"_s}), 0) << qPrintable(messages());
    EXPECT_EQ(results(), image + u'\n');
    EXPECT_TRUE(notary.calls()[0].contains("<mine> <--wait>"_L1));
    EXPECT_TRUE(messages().contains("✅ Notarization Accepted!\n"));
}

TEST_F(NotarizationCommands, GoOnWithASubmission)
{
    EXPECT_EQ(run({u"notarize"_s, image, u"--profile"_s, u"p"_s, u"--submission"_s, identifier}), 0)
        << qPrintable(messages());
    EXPECT_EQ(notary.calls()[0],
        u"xcrun <notarytool> <wait> <%1> <--keychain-profile> <p>"_s.arg(identifier));
    EXPECT_EQ(notary.calls()[1], u"xcrun <stapler> <staple> <%1>"_s.arg(image));
    EXPECT_EQ(notary.calls().filter(u"<submit>"_s), QStringList());
}

TEST_F(NotarizationCommands, FailWithTheToolsWordsAndARemedy)
{
    struct Row {
        const char* name;
        QStringList command;
        QString request, answer;
        QString step, tool;
        QString said; // a part of it
        QString remedy; // its beginning
    };
    const QStringList notarizeImage{u"notarize"_s, u"out/My App.dmg"_s, u"--profile"_s, u"p"_s};
    const QString invalid =
        u"printf 'Processing complete\\n  id: %1\\n  status: Invalid\\n'"_s.arg(identifier);
    const Row rows[] = {
        {"a refusal, with the service's log", notarizeImage, u"submit"_s, invalid,
            u"the submission"_s, u"/usr/bin/xcrun"_s,
            u"status: Invalid\nThe notary service or its tool reported a failure (invalidStatus).\n"
            u"a.dmg/x: The binary is not signed.\nAnother."_s,
            u"Mend what is named"_s},
        {"unknown credentials", notarizeImage, u"submit"_s,
            u"echo 'Error: No Keychain password item found' >&2; exit 69"_s, u"the submission"_s,
            u"/usr/bin/xcrun"_s, u"Error: No Keychain password item found"_s,
            u"Store credentials under this name"_s},
        {"no network", notarizeImage, u"submit"_s,
            u"echo 'Error: HTTPError(statusCode: nil, error: Error Domain=NSURLErrorDomain "
            u"Code=-1009' >&2; exit 1"_s,
            u"the submission"_s, u"/usr/bin/xcrun"_s, u"-1009"_s,
            u"See that this machine reaches"_s},
        {"a token that nobody believes", notarizeImage, u"submit"_s,
            u"echo 'Error: HTTP status code: 401. Unauthenticated.' >&2; exit 1"_s,
            u"the submission"_s, u"/usr/bin/xcrun"_s, u"401"_s, u"Try the profile"_s},
        {"no room for the archive", {u"notarize"_s, u"Example.app"_s, u"--profile"_s, u"p"_s},
            u"archive"_s, u"echo full >&2; exit 1"_s, u"archiving the application"_s,
            u"/usr/bin/ditto"_s, u"status 1: full"_s, u"See that every file"_s},
        {"no ticket yet", notarizeImage, u"validate"_s, u"echo none; exit 65"_s,
            u"stapling the ticket"_s, u"/usr/bin/xcrun"_s, u"status 65: none"_s, u"A ticket can"_s},
        {"a rejected image", notarizeImage, u"install"_s, u"echo 'x: rejected' >&2; exit 3"_s,
            u"the assessment"_s, u"/usr/sbin/spctl"_s, u"x: rejected"_s, u"Run “vandor verify”"_s},
        {"nothing to staple", {u"staple"_s, u"Example.app"_s}, u"validate"_s,
            u"echo none; exit 65"_s, u"stapling"_s, u"/usr/bin/xcrun"_s, u"none"_s, u"See that"_s},
        {"refused credentials", {u"credentials"_s, u"verify"_s, u"p"_s}, u"history"_s,
            u"echo 'Error: 401' >&2; exit 1"_s, u"asking the notary service"_s, u"/usr/bin/xcrun"_s,
            u"Error: 401"_s, u"Store the credentials"_s},
    };
    for (const Row& row : rows) {
        NotarizationCommands test;
        test.notary.answer(row.request, row.answer);
        test.notary.answer(u"log"_s,
            u"echo '{\"issues\": [{\"path\": \"a.dmg/x\", \"message\": \"The binary is not "
            u"signed.\"},"
            u" {\"message\": \"Another.\"}]}'"_s);
        EXPECT_EQ(test.run(row.command + QStringList(u"--json"_s)), 1) << row.name;
        const QJsonObject result = test.result();
        EXPECT_EQ(result[u"step"_s], row.step) << row.name;
        EXPECT_EQ(result[u"tool"_s], row.tool) << row.name;
        EXPECT_TRUE(result[u"said"_s].toString().contains(row.said))
            << row.name << ": " << qPrintable(result[u"said"_s].toString());
        EXPECT_TRUE(result[u"remedy"_s].toString().startsWith(row.remedy)) << row.name;
        EXPECT_EQ(test.leftBehind(), QStringList()) << row.name;
    }
}

TEST_F(NotarizationCommands, RefuseWhatMakesNoSense)
{
    struct Row {
        QStringList arguments;
        QString reason;
    };
    const Row rows[] = {
        {{u"notarize"_s, u"Example.app"_s}, u"--profile NAME"_s},
        {{u"notarize"_s, u"sea.png"_s, u"--profile"_s, u"p"_s}, u"is neither"_s},
        {{u"notarize"_s, image, u"--profile"_s, u"p"_s, u"--submission"_s, u"x; rm"_s},
            u"is not the id"_s},
        {{u"inspect"_s, image}, u"is not an application"_s},
        {{u"verify"_s, u"Example.app"_s}, u"is not a disk image"_s},
        {{u"credentials"_s}, u"A subcommand is required"_s},
        {{u"credentials"_s, u"store"_s, u"p"_s}, u"name a key"_s},
        {{u"credentials"_s, u"store"_s, u"p"_s, u"--key"_s, u"none.p8"_s, u"--key-id"_s, u"k"_s},
            u"not a readable file"_s},
        {{u"credentials"_s, u"store"_s, u"p"_s, u"--apple-id"_s, u"a"_s, u"--team-id"_s, u"t"_s},
            u"no password"_s},
        {{u"ship"_s, u"Example.app"_s, u"-o"_s, u"out/a.dmg"_s}, u"--profile NAME"_s},
    };
    for (const Row& row : rows) {
        const qsizetype before = messages().size();
        EXPECT_EQ(run(row.arguments), 2) << qPrintable(row.arguments.join(u' '));
        EXPECT_TRUE(messages().sliced(before).contains(row.reason))
            << qPrintable(messages().sliced(before));
    }
    EXPECT_EQ(notary.calls(), QStringList());
}

TEST_F(NotarizationCommands, StoreAndVerifyCredentials)
{
    password = u"se cret"_s;
    EXPECT_EQ(run({u"credentials"_s, u"store"_s, u"mine"_s, u"--apple-id"_s, u"ada@example.org"_s,
                  u"--team-id"_s, u"TEAM"_s}),
        0);
    EXPECT_EQ(run({u"credentials"_s, u"store"_s, u"mine"_s, u"--key"_s, u"sea.png"_s, u"--key-id"_s,
                  u"K1"_s, u"--issuer"_s, u"I1"_s}),
        0);
    EXPECT_EQ(run({u"credentials"_s, u"verify"_s, u"mine"_s}), 0);
    EXPECT_EQ(notary.calls(),
        (QStringList{u"xcrun <notarytool> <store-credentials> <mine> <--apple-id> "
                     u"<ada@example.org> <--team-id> <TEAM> <--password> <se cret>"_s,
            u"xcrun <notarytool> <history> <--keychain-profile> <mine>"_s,
            u"xcrun <notarytool> <store-credentials> <mine> <--key> <%1> <--key-id> <K1> "
            u"<--issuer> <I1>"_s.arg(path(u"sea.png"_s)),
            u"xcrun <notarytool> <history> <--keychain-profile> <mine>"_s}));
    EXPECT_EQ(results(),
        u"mine\nmine\nCredentials Verified. History Check:\n"
        u"Successfully received submission history.\n"_s);
    EXPECT_FALSE((results() + messages()).contains(u"se cret"_s));

    notary.answer(u"history"_s, u"echo '  note=local stand-in authority, not Apple'"_s);
    EXPECT_EQ(run({u"credentials"_s, u"store"_s, u"mine"_s, u"--apple-id"_s, u"ada@example.org"_s,
                  u"--team-id"_s, u"TEAM"_s}),
        0);
    EXPECT_TRUE(messages().contains("judged by this machine's own authority"_L1))
        << qPrintable(messages());
}

TEST_F(NotarizationCommands, InspectAnApplication)
{
    EXPECT_EQ(run({u"inspect"_s, u"Example.app"_s}), 0) << qPrintable(messages());
    EXPECT_EQ(results(),
        u"✅ Signed with a secure timestamp\n✅ Notarized\n✅ Ticket stapled\n"
        u"Ready for distribution.\n"_s);

    notary.answer(u"install"_s, u"echo 'x: rejected' >&2; exit 3"_s);
    const qsizetype before = results().size();
    EXPECT_EQ(run({u"inspect"_s, u"Example.app"_s}), 1);
    EXPECT_EQ(results().sliced(before),
        u"✅ Signed with a secure timestamp\n"
        u"❌ Notarized\n     Said: Error: commandFailed(3, \"x: rejected\n     \n     \")\n"
        u"     Help: Submit it: “vandor notarize”.\n"
        u"❓ Ticket stapled\n     Said: Not looked at.\n"
        u"Notarization check (spctl) failed.\n"_s)
        << qPrintable(results().sliced(before));
}

TEST_F(NotarizationCommands, VerifyExaminesEveryPartOfAnImage)
{
    struct Row {
        const char* name;
        std::function<void(const NotarizationCommands&)> prepare;
        QString states; // container, volume, window, signature, ticket, gatekeeper
        QString authority;
    };
    const auto inside = [](const QString& line) {
        return [line](const NotarizationCommands& test) {
            test.scripted.script(u"hdiutil"_s, u"verify"_s,
                u"echo 'hdiutil: verify: %1'; %2; exit 1"_s.arg(line, test.valid));
        };
    };
    const QString notarized = u"appleNotarized"_s;
    const Row rows[] = {
        {"sound", [](const NotarizationCommands&) {}, u"pppppp"_s, notarized},
        {"odd and harmless", inside(u"harmless: .DS_Store: no picture"_s), u"pppppp"_s, notarized},
        {"cut off",
            [](const NotarizationCommands& test) {
                test.scripted.script(u"hdiutil"_s, u"verify"_s,
                    u"echo 'hdiutil: verify: checksum of \"x\" is INVALID' >&2; exit 1"_s);
            },
            u"fssppp"_s, notarized},
        {"no tool",
            [](const NotarizationCommands& test) { test.scripted.remove(u"/usr/bin/hdiutil"_s); },
            u"fssppp"_s, notarized},
        {"a damaged volume", inside(u"catalog: a thread is missing"_s), u"pfpppp"_s, notarized},
        {"a window that no Finder shows", inside(u".DS_Store: cut off"_s), u"ppfppp"_s, notarized},
        {"unsigned",
            [](const NotarizationCommands& test) {
                test.signing.answer(u"verify"_s, u"echo 'not signed at all' >&2; exit 1"_s);
                test.notary.answer(u"validate"_s, u"exit 65"_s);
                test.notary.answer(u"install"_s, u"echo 'x: rejected' >&2; exit 3"_s);
            },
            u"pppfff"_s, u"unsigned"_s},
        {"not notarized",
            [](const NotarizationCommands& test) {
                test.notary.answer(u"validate"_s, u"exit 65"_s);
                test.notary.answer(
                    u"install"_s, u"printf 'x: accepted\\nsource=Developer ID\\n' >&2"_s);
            },
            u"ppppff"_s, u"developerId"_s},
        {"not stapled",
            [](const NotarizationCommands& test) {
                test.notary.answer(u"validate"_s, u"exit 65"_s);
            },
            u"ppppfp"_s, notarized},
    };
    for (const Row& row : rows) {
        NotarizationCommands test;
        row.prepare(test);
        const bool isReady = row.states == u"pppppp"_s;
        EXPECT_EQ(test.run({u"verify"_s, u"out/My App.dmg"_s, u"--json"_s}), isReady ? 0 : 1)
            << row.name;
        QString states;
        for (const QJsonObject& check : test.eventsNamed(u"check"_s)) {
            states += check[u"state"_s].toString().at(0);
            EXPECT_EQ(check[u"remedy"_s].isString(), check[u"state"_s] == u"failed"_s) << row.name;
        }
        EXPECT_EQ(states, row.states) << row.name << qPrintable(test.results());
        EXPECT_EQ(test.result()[u"ready"_s], isReady) << row.name;
        EXPECT_EQ(test.result()[u"authority"_s], row.authority) << row.name;
    }
    EXPECT_EQ(run({u"verify"_s, u"out/My App.dmg"_s, u"--quiet"_s}), 0);
    EXPECT_TRUE(results().endsWith("✅ Gatekeeper\nReady for Distribution!\n"));
    EXPECT_EQ(messages(), QString());
}

} // namespace
