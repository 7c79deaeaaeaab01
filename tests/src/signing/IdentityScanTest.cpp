#include "SigningFixture.h"

#include "signing/IdentityScan.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace {

TEST(IdentityScan, ReadsIdentitiesOffTheToolsLines)
{
    struct Row {
        const char* name;
        QString output;
        QStringList identities; // "SHA1 NAME"
    };
    const QString sha1 = SigningFixture::ada;
    const QString other = SigningFixture::bob;
    const Row rows[] = {
        {"one and the count",
            identityLine(sha1, u"Ada (TEAM)"_s) + u"     1 valid identities found"_s,
            {sha1 + u" Ada (TEAM)"_s}},
        {"in the tool's order, doubles too",
            identityLine(sha1, u"B"_s) + identityLine(other, u"A"_s) + identityLine(sha1, u"B"_s),
            {sha1 + u" B"_s, other + u" A"_s, sha1 + u" B"_s}},
        {"small letters", identityLine(sha1.toLower(), u"Ada"_s), {}},
        {"39 characters", identityLine(sha1.first(39), u"Ada"_s), {}},
        {"the first 40 of more", identityLine(sha1 + u"0"_s, u"Ada"_s), {sha1 + u" Ada"_s}},
        {"a parenthesis in the name alone", u"1 \"Ada (TEAM)\""_s, {}},
        {"no parenthesis", u"1 %1 \"Ada\""_s.arg(sha1), {}},
        {"no quotation mark", u"1) %1 Ada"_s.arg(sha1), {}},
        {"a fingerprint in the name alone", identityLine(u"x"_s, sha1), {}},
        {"a name that isn't closed", u"1) %1 \"Ada"_s.arg(sha1), {sha1 + u" Ada"_s}},
        {"words after the name", u"1) %1 \"Ada\" (\"expired\")"_s.arg(sha1), {sha1 + u" Ada"_s}},
        {"no name", identityLine(sha1, u""_s), {sha1 + u' '}},
        {"nothing", u""_s, {}},
    };
    for (const Row& row : rows) {
        QStringList found;
        QSet<QUuid> ids;
        for (const SigningIdentity& identity : identitiesIn(row.output)) {
            found += identity.sha1 + u' ' + identity.name;
            ids += identity.id;
        }
        EXPECT_EQ(found, row.identities) << row.name;
        EXPECT_EQ(ids.size(), found.size()) << row.name;
    }
}

class ScanTest : public SigningFixture { };

TEST_F(ScanTest, EmptiesEverythingBeforeItAsks)
{
    list({{ada, u"Ada"_s}});
    scan();
    ASSERT_EQ(manager->identities().size(), 1);
    manager->fetchIdentities();
    EXPECT_TRUE(manager->isScanning());
    EXPECT_EQ(manager->identities().size(), 0);
    EXPECT_EQ(manager->logs(), QString());
    manager->fetchIdentities(); // nothing speaks against a second one
    ASSERT_TRUE(turnUntil([&] { return manager->logs().count("Found"_L1) == 2; }));
    EXPECT_EQ(manager->identities().size(), 1);
    EXPECT_EQ(scripted.calls().last(), u"security <find-identity> <-v> <-p> <codesigning>"_s);
}

TEST_F(ScanTest, PublishesAndRestores)
{
    struct Row {
        const char* name;
        QString answer;
        QString saved;
        QString log;
        qsizetype count;
        bool isSelected;
    };
    const QString two = u"echo '1) %1 \"Ada\"'; echo '2) %2 \"Bob\"'"_s.arg(ada, bob);
    const Row rows[] = {
        {"none", u"echo ' 0 valid identities found'"_s, u""_s,
            u"No valid signing identities found.\n"_s, 0, false},
        {"some", two, u""_s, u"Found 2 identities.\n"_s, 2, false},
        {"the remembered one among them", two, bob,
            u"Restored saved identity: Bob\nFound 2 identities.\n"_s, 2, true},
        {"the first of two alike", two + u"; echo '3) %1 \"Twin\"'"_s.arg(bob), bob,
            u"Restored saved identity: Bob\nFound 3 identities.\n"_s, 3, true},
        {"the remembered one missing", u"echo '1) %1 \"Ada\"'"_s.arg(ada), bob,
            u"Found 1 identities.\n"_s, 1, false},
        {"none, one remembered", u"true"_s, bob, u"No valid signing identities found.\n"_s, 0,
            false},
        {"the tool's status says nothing", two + u"; exit 1"_s, u""_s, u"Found 2 identities.\n"_s,
            2, false},
        {"no UTF-8", two + u"; printf '\\377'"_s, bob, u""_s, 0, false},
    };
    for (const Row& row : rows) {
        SigningFixture test;
        test.scripted.answer(u"find-identity"_s, row.answer);
        if (!row.saved.isEmpty())
            test.defaults.set(test.key, row.saved);
        test.scan();
        EXPECT_EQ(test.manager->logs(), row.log) << row.name;
        EXPECT_EQ(test.manager->identities().size(), row.count) << row.name;
        EXPECT_EQ(test.manager->selectedIdentity().has_value(), row.isSelected) << row.name;
        EXPECT_EQ(test.defaults.string(test.key).value_or(QString()), row.saved) << row.name;
        EXPECT_EQ(test.manager->activeIdentitySHA1().value_or(QString()), row.saved) << row.name;
        if (row.isSelected) {
            EXPECT_EQ(test.manager->selectedIdentity(), test.manager->identities()[1]) << row.name;
        }
    }
}

TEST_F(ScanTest, AMissingToolLeavesTheSelection)
{
    manager->selectIdentity(identity);
    scripted.remove(u"/usr/bin/security"_s);
    scan();
    EXPECT_EQ(manager->logs(),
        u"Error fetching identities: Could not start “/usr/bin/security”: "
        u"No such file or directory.\n"_s);
    EXPECT_EQ(manager->selectedIdentity(), identity);
}

TEST_F(ScanTest, TheChoiceMeetsAnotherManager)
{
    list({{ada, u"Ada"_s}, {bob, u"Bob"_s}});
    SigningManager other(SigningHost{tools, shell, defaults});
    scan();
    other.selectIdentity(manager->identities()[1]);
    EXPECT_EQ(manager->selectedIdentity(), std::nullopt);
    EXPECT_EQ(manager->activeIdentitySHA1(), bob);
    scan();
    ASSERT_TRUE(manager->selectedIdentity());
    EXPECT_EQ(manager->selectedIdentity()->sha1, bob);
    EXPECT_NE(manager->selectedIdentity(), other.selectedIdentity()) << "another scan's value";

    other.selectIdentity(std::nullopt);
    EXPECT_EQ(defaults.string(key), std::nullopt);
    EXPECT_EQ(other.activeIdentitySHA1(), std::nullopt);
    scan();
    EXPECT_EQ(manager->selectedIdentity(), std::nullopt);
}

TEST_F(ScanTest, EndsQuietlyWhenTheManagerIsGone)
{
    scripted.answer(u"find-identity"_s, u"sleep 0.2; > '%1'"_s.arg(scratch.path(u"ended"_s)));
    manager->fetchIdentities();
    manager.reset();
    EXPECT_TRUE(turnUntil([this] { return QFile::exists(scratch.path(u"ended"_s)); }));
    turnUntil([turns = 0]() mutable { return ++turns > 3; });
}

} // namespace
