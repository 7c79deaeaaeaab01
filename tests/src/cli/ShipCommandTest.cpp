#include "CommandFixture.h"
#include "NotaryTools.h"
#include "SigningTools.h"
#include "cli/ShipLock.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace {

const QString identifier = u"2efe2717-52ef-43a5-96dc-0797e4ca1041"_s;
const QString adaSha1 = u"0123456789ABCDEF0123456789ABCDEF01234567"_s;
const QString bobSha1 = u"FEDCBA9876543210FEDCBA9876543210FEDCBA98"_s;

/// Tools that leave signatures and tickets in what they work on, and look for them there.
class Ship : public CommandFixture {
public:
    Ship()
    {
        host.rootOfUser = [this] { return SystemRoot(scripted.path(), path(u"state"_s)); };
        qputenv("HOME", QFile::encodeName(folder()));
        signing.answer(u"find-identity"_s,
            u"cat <<'END'\n"_s + identityLine(adaSha1, u"Developer ID Application: Ada (TEAM)"_s)
                + identityLine(bobSha1, u"Bob"_s) + u"END\n"_s);
        letSign();
        signing.answer(u"verify"_s, look(u"signature"_s));
        signing.answer(u"describe"_s, look(u"signature"_s) + u"; echo Timestamp=now"_s);
        signing.answer(u"inspect"_s,
            u"echo CDHash=5e; echo \"Authority=$(cat '%1')\""_s.arg(path(u"signer"_s)));
        notary.answer(u"staple"_s, mark(u"ticket"_s));
        notary.answer(u"validate"_s, look(u"ticket"_s) + u"; echo 'The validate action worked!'"_s);
        notary.answer(u"install"_s,
            look(u"ticket"_s) + u"; printf 'x: accepted\\nsource=Notarized Developer ID\\n' >&2"_s);
        scripted.script(u"hdiutil"_s, u"verify"_s, u"echo 'checksum of \"x\" is VALID'"_s);
    }
    ~Ship() override { qputenv("HOME", m_home); }

    void letSign() const
    {
        signing.answer(u"sign"_s,
            mark(u"signature"_s)
                + u"; case \"$*\" in *%1*) echo Bob;; *) echo 'Developer ID Application: Ada "
                  u"(TEAM)';; esac > '%2'; echo \"$last: signed\" >&2"_s.arg(
                      bobSha1, path(u"signer"_s)));
    }
    int ship(const QStringList& more = {})
    {
        const QStringList command{u"ship"_s, u"Example.app"_s, u"-o"_s, u"out/Demo.dmg"_s,
            u"--identity"_s, u"Ada"_s, u"--profile"_s, u"p"_s};
        return run(command + more);
    }
    /// What was done since the last time, a letter each: Sign, Archive, sUbmit, Wait, sTaple,
    /// Build.
    QString deeds()
    {
        QString all;
        for (const QString& call : signing.calls() + notary.calls() + scripted.calls()) {
            if (call.contains("<--force>"_L1))
                all += u'S';
            if (call.contains("<--keepParent>"_L1))
                all += u'A';
            if (call.contains("<submit>"_L1))
                all += u'U';
            if (call.contains("<wait>"_L1))
                all += u'W';
            if (call.contains("<staple>"_L1))
                all += u'T';
            if (call.contains("hdiutil convert"_L1))
                all += u'B';
        }
        QString fresh = all;
        for (const QChar deed : m_known)
            fresh.remove(fresh.indexOf(deed), 1);
        m_known = all;
        return fresh;
    }
    QJsonObject step(const QString& name) const
    {
        const QByteArray ledger = readFile(path(u"out/Demo.dmg.ledger.json"_s));
        return QJsonDocument::fromJson(ledger)[u"steps"_s][name].toObject();
    }

    const SigningTools signing{path(u"signing"_s), scripted.path()};
    const NotaryTools notary{path(u"notary"_s), scripted.path()};

private:
    static QString mark(const QString& what)
    {
        return u"if [ -d \"$last\" ]; then echo %1 > \"$last/%1\"; else echo %1 >> \"$last\"; fi"_s
            .arg(what);
    }
    static QString look(const QString& what)
    {
        return u"if [ -d \"$last\" ]; then [ -e \"$last/%1\" ] || exit 1; "
               u"else grep -q %1 \"$last\" || exit 1; fi"_s.arg(what);
    }

    QString m_known;
    QByteArray m_home = qgetenv("HOME");
};

TEST_F(Ship, DoesEverythingOnceAndThenNothing)
{
    EXPECT_EQ(ship({u"--json"_s}), 0) << qPrintable(messages());
    EXPECT_EQ(deeds(), u"SSAUTUTB"_s);
    EXPECT_TRUE(messages().endsWith("Ready for Distribution!\n"));
    for (const QByteArray& line : results().trimmed().toUtf8().split('\n')) {
        const QJsonObject event = QJsonDocument::fromJson(line).object();
        EXPECT_EQ(event[u"schema"_s], u"vandor.ship/1"_s) << line.toStdString();
    }
    EXPECT_EQ(step(u"notarize-image"_s)[u"submission"_s], identifier);
    EXPECT_EQ(step(u"notarize-image"_s)[u"outcome"_s], u"done"_s);
    const QFile ledger(path(u"out/Demo.dmg.ledger.json"_s));
    EXPECT_EQ(ledger.permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());

    const qsizetype before = results().size();
    EXPECT_EQ(ship(), 0);
    EXPECT_EQ(deeds(), QString());
    EXPECT_EQ(results().sliced(before), path(u"out/Demo.dmg\n"_s));
}

TEST_F(Ship, GoesOnWhereItStopped)
{
    const QString offline =
        u"printf 'Successfully uploaded file\\n  id: %1\\n'; echo 'Error: the Internet is gone' >&2"_s
            .arg(identifier);
    const QString refused =
        u"printf 'Processing complete\\n  id: %1\\n  status: Invalid\\n'"_s.arg(identifier);
    struct Row {
        const char* name;
        std::function<void(const Ship&)> breakIt;
        std::function<void(const Ship&)> mendIt;
        QString first, second; // deeds
    };
    const auto removeAnswer = [](const QString& request) {
        return [request](
                   const Ship& test) { QFile::remove(test.path(u"notary/answers/"_s + request)); };
    };
    const Row rows[] = {
        {"at the first signature",
            [](const Ship& test) { test.signing.answer(u"sign"_s, u"exit 1"_s); },
            [](const Ship& test) { test.letSign(); }, u"S"_s, u"SSAUTUTB"_s},
        {"at the first submission, the network gone",
            [&](const Ship& test) { test.notary.answer(u"submit.1"_s, offline); },
            [](const Ship&) {}, u"SAU"_s, u"SWTUTB"_s},
        {"at the first submission, before the service had it all",
            [](const Ship& test) {
                test.notary.answer(u"submit.1"_s,
                    u"printf 'Submission ID received\\n  id: %1\\n'; echo Error: offline"_s.arg(
                        identifier));
            },
            [](const Ship&) {}, u"SAU"_s, u"SAUTUTB"_s},
        {"at the first submission, which the service then forgot",
            [&](const Ship& test) {
                test.notary.answer(u"submit.1"_s, offline);
                test.notary.answer(u"wait"_s, u"echo 'Error: submission not found' >&2"_s);
            },
            [](const Ship&) {}, u"SAU"_s, u"SWAUTUTB"_s},
        {"at the first submission, refused",
            [&](const Ship& test) { test.notary.answer(u"submit.1"_s, refused); },
            [](const Ship&) {}, u"SAU"_s, u"SAUTUTB"_s},
        {"at the first ticket",
            [](const Ship& test) { test.notary.answer(u"staple.1"_s, u"exit 65"_s); },
            [](const Ship&) {}, u"SAUT"_s, u"SWTUTB"_s},
        {"at the build",
            [](const Ship& test) { test.scripted.script(u"hdiutil"_s, u"convert"_s, u"exit 1"_s); },
            [](const Ship& test) { QFile::remove(test.path(u"answers/hdiutil.convert"_s)); },
            u"SAUTB"_s, u"SUTB"_s},
        {"at the second submission, the network gone",
            [&](const Ship& test) { test.notary.answer(u"submit.2"_s, offline); },
            [](const Ship&) {}, u"SSAUTUB"_s, u"WT"_s},
        {"at the second ticket",
            [](const Ship& test) { test.notary.answer(u"staple.2"_s, u"exit 65"_s); },
            [](const Ship&) {}, u"SSAUTUTB"_s, u"WT"_s},
        {"at the examination",
            [](const Ship& test) { test.notary.answer(u"install"_s, u"exit 3"_s); },
            removeAnswer(u"install"_s), u"SSAUTUTB"_s, u"WT"_s},
    };
    for (const Row& row : rows) {
        Ship test;
        row.breakIt(test);
        EXPECT_EQ(test.ship(), 1) << row.name;
        EXPECT_EQ(test.deeds(), row.first) << row.name;
        row.mendIt(test);
        EXPECT_EQ(test.ship(), 0) << row.name << qPrintable(test.messages());
        EXPECT_EQ(test.deeds(), row.second) << row.name;
        for (const QString& step : {u"sign-application"_s, u"notarize-application"_s,
                 u"build-image"_s, u"sign-image"_s, u"notarize-image"_s})
            EXPECT_EQ(test.step(step)[u"outcome"_s], u"done"_s) << row.name << qPrintable(step);
    }
}

TEST_F(Ship, WhatHasChangedIsDoneAgain)
{
    struct Row {
        const char* name;
        std::function<void(const Ship&)> change;
        QStringList options;
        QString deeds;
    };
    const Row rows[] = {
        {"another version of the application",
            [](const Ship& test) {
                QFile::remove(test.path(u"Example.app/signature"_s));
                QFile::remove(test.path(u"Example.app/ticket"_s));
                test.setVersion(u"8"_s);
            },
            {}, u"SSAUTUTB"_s},
        {"another look", [](const Ship&) {}, {u"--icon-size"_s, u"64"_s}, u"SUTB"_s},
        {"another picture of the same name",
            [](const Ship& test) { writeFile(test.path(u"sea.png"_s), "another"); }, {}, u"SUTB"_s},
        {"no image", [](const Ship& test) { QFile::remove(test.path(u"out/Demo.dmg"_s)); }, {},
            u"SUTB"_s},
        {"another authority", [](const Ship&) {}, {u"--profile"_s, u"q"_s}, u"AUTUT"_s},
        {"another identity", [](const Ship&) {}, {u"--identity"_s, u"Bob"_s}, u"SSAUTUTB"_s},
        {"a ledger that isn't one",
            [](const Ship& test) { writeFile(test.path(u"out/Demo.dmg.ledger.json"_s), "[{"); }, {},
            u"SUTB"_s},
    };
    QStringList command{u"ship"_s, u"Example.app"_s, u"-o"_s, u"out/Demo.dmg"_s, u"--background"_s,
        u"sea.png"_s, u"--identity"_s, u"Ada"_s, u"--profile"_s, u"p"_s};
    ASSERT_EQ(run(command), 0) << qPrintable(messages());
    deeds();
    for (const Row& row : rows) { // each goes on from the one before
        row.change(*this);
        if (!row.options.isEmpty() && command.contains(row.options[0]))
            command.remove(command.indexOf(row.options[0]), 2);
        command += row.options;
        EXPECT_EQ(run(command), 0) << row.name << qPrintable(messages());
        EXPECT_EQ(deeds(), row.deeds) << row.name;
    }
}

TEST_F(Ship, TwoRunsNeverWorkOnTheSameFiles)
{
    const struct {
        QString application, output;
    } rows[] = {
        {path(u"Example.app"_s), path(u"out/Other.dmg"_s)},
        {path(u"Other.app"_s), path(u"out/Demo.dmg"_s)},
    };
    for (const auto& row : rows) {
        const ShipLock held(row.application, row.output);
        EXPECT_EQ(ship(), 1);
        EXPECT_TRUE(messages().contains("Another run is at work on"_L1)) << qPrintable(messages());
        EXPECT_EQ(deeds(), QString());
    }
    EXPECT_EQ(ship(), 0) << qPrintable(messages());
    EXPECT_FALSE(QFile::exists(path(u"out/Demo.dmg.ledger.lock"_s)));
}

TEST_F(Ship, ATicketThatNobodyLivedToWriteDownIsRecognised)
{
    ASSERT_EQ(ship(), 0);
    deeds();
    // As after a kill between the staple and the ledger's next line.
    const QString file = path(u"out/Demo.dmg.ledger.json"_s);
    QJsonObject root = QJsonDocument::fromJson(readFile(file)).object();
    QJsonObject steps = root[u"steps"_s].toObject();
    for (const QString& name : {u"notarize-application"_s, u"notarize-image"_s}) {
        QJsonObject record = steps[name].toObject();
        record.remove(u"output"_s);
        steps[name] = record;
    }
    root[u"steps"_s] = steps;
    writeFile(file, QJsonDocument(root).toJson());
    EXPECT_EQ(ship(), 0) << qPrintable(messages());
    EXPECT_EQ(deeds(), u"WT"_s) << "the image's; the application speaks for itself";
}

} // namespace
