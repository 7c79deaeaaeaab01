#include "NotarizationFixture.h"

#include "notarization/VerificationManager.h"

using namespace Qt::StringLiterals;

namespace {

struct VerificationManagerTest : NotarizationFixture {
    std::unique_ptr<VerificationManager> manager = std::make_unique<VerificationManager>(shell);
    const QString start = u"Staring Deep Verification for My App 1.0.dmg...\n"_s;
    const GatekeeperState rejected = GatekeeperState::rejected(u"Assessment failed"_s);
};
struct FreshVerificationManager : VerificationManagerTest { };

TEST_F(VerificationManagerTest, GradesByTheFirstAssessment)
{
    const QString failed = u"❌ Gatekeeper Assessment Failed\n"_s;
    const QString context = u"\nVerifying Disk Image Context...\n[ERR] opened\n\n"_s;
    struct Row {
        const char* name;
        QString answer;
        GatekeeperState state;
        AuthorityState authority;
        QString log; // after the first line
    };
    const Row rows[] = {
        {"notarized", onError(u"x: accepted\nsource=Notarized Developer ID"_s),
            GatekeeperState::accepted(), AuthorityState::appleNotarized,
            u"[ERR] x: accepted\nsource=Notarized Developer ID\n\n"
            u"✅ Authority: Apple Notarized (Highest Trust)\n"_s
                + context},
        {"signed only", onError(u"x: accepted\nsource=Developer ID"_s), GatekeeperState::accepted(),
            AuthorityState::developerId,
            u"[ERR] x: accepted\nsource=Developer ID\n\n"
            u"⚠️ Authority: Developer ID (Signed but not Notarized?)\n"_s
                + context},
        {"of another source", onError(u"x: accepted\nsource=Mac App Store"_s),
            GatekeeperState::accepted(), AuthorityState::unknown,
            u"[ERR] x: accepted\nsource=Mac App Store\n\n"_s + context},
        {"rejected, whatever its source",
            onError(u"x: rejected\nsource=Unnotarized Developer ID"_s) + u"exit 3"_s, rejected,
            AuthorityState::unsignedCode,
            u"[ERR] x: rejected\nsource=Unnotarized Developer ID\n\n"_s + failed},
        {"a verdict without a source", u"echo 'x: accepted'"_s, rejected,
            AuthorityState::unsignedCode, u"x: accepted\n\n"_s + failed},
    };
    for (const Row& row : rows) {
        FreshVerificationManager test;
        test.scripted.answer(u"install"_s, row.answer);
        test.scripted.answer(u"open"_s, u"echo opened >&2; exit 3"_s);
        QCoro::Task<> verification = test.manager->verify(test.image);
        EXPECT_EQ(test.manager->gatekeeperState(), GatekeeperState::verifying()) << row.name;
        await(std::move(verification));
        EXPECT_EQ(test.manager->gatekeeperState(), row.state) << row.name;
        EXPECT_EQ(test.manager->authorityState(), row.authority) << row.name;
        EXPECT_EQ(test.manager->logs(), start + row.log) << row.name;
        EXPECT_EQ(
            test.manager->isReadyForDistribution(), row.authority == AuthorityState::appleNotarized)
            << row.name;
        EXPECT_EQ(test.scripted.calls().size(), row.state == rejected ? 1 : 2) << row.name;
    }
}

TEST_F(VerificationManagerTest, TheVerdictAndItsSourceMustComeTogether)
{
    // The second half waits until the first was read.
    const QString seen = scratch.path(u"seen"_s);
    scripted.answer(u"install"_s,
        u"echo 'x: accepted'; until [ -e '%1' ]; do sleep 0.01; done; "
        u"echo source=Notarized Developer ID"_s.arg(seen));
    QObject::connect(manager.get(), &VerificationManager::messageLogged, [&](const QString& text) {
        if (text.contains("accepted"_L1))
            scratch.write(u"seen"_s, {});
    });
    await(manager->verify(image));
    EXPECT_EQ(manager->gatekeeperState(), rejected);
    EXPECT_TRUE(manager->logs().contains(u"source=Notarized Developer ID"_s));
}

TEST_F(VerificationManagerTest, StartsOverEachTimeAndAfterwardsForANewProject)
{
    await(manager->verify(image));
    signing.remove(u"/bin/zsh"_s);
    await(manager->verify(image));
    EXPECT_EQ(manager->logs(),
        start
            + u"Failed to launch command: Could not start “/bin/zsh”: No such file or directory.\n"
              u"❌ Gatekeeper Assessment Failed\n"_s);
    manager->clear();
    EXPECT_EQ(manager->gatekeeperState(), GatekeeperState::unknown());
    EXPECT_EQ(manager->authorityState(), AuthorityState::unknown);
    EXPECT_EQ(manager->logs(), QString());
}

TEST_F(VerificationManagerTest, AVerificationOutlivesItsManagerAndItsProjectQuietly)
{
    QCoro::Task<> forgotten = manager->verify(image);
    manager->clear();
    await(std::move(forgotten));
    EXPECT_EQ(manager->gatekeeperState(), GatekeeperState::unknown());
    EXPECT_EQ(manager->logs(), QString());
    QCoro::Task<> orphan = manager->verify(image);
    manager.reset();
    await(std::move(orphan));
}

} // namespace
