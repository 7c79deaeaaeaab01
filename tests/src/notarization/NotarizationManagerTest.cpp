#include "NotarizationFixture.h"

#include "notarization/NotarizationManager.h"

using namespace Qt::StringLiterals;

namespace {

class NotarizationManagerTest : public NotarizationFixture {
public:
    NotarizationManagerTest() { manager->setProfileName(u"My Profile"_s); }

    std::unique_ptr<NotarizationManager> manager = std::make_unique<NotarizationManager>(host);
    const QString start = u"Staring Notarization for My App 1.0.dmg...\n"
                          u"Using Profile: \"My Profile\"\n"
                          u"This may take several minutes. Please wait.\n"_s;
    const QString end = u"✅ Gatekeeper Verification Passed!\nReady for distribution!\n"_s;
};

struct FreshNotarizationManager : NotarizationManagerTest { };

TEST_F(NotarizationManagerTest, TakesAnImageToItsEnd)
{
    QStringList messages;
    QObject::connect(manager.get(), &NotarizationManager::messageLogged,
        [&](const QString& text) { messages += text; });
    QCoro::Task<> run = manager->notarize(image);
    EXPECT_TRUE(manager->isProcessing());
    EXPECT_EQ(manager->logs(), start);
    await(manager->notarize(image)); // a second press
    await(std::move(run));
    EXPECT_FALSE(manager->isProcessing());
    EXPECT_TRUE(manager->notarizationSuccess());
    const QString assessment =
        u"[ERR] /out/My App 1.0.dmg: accepted\nsource=Notarized Developer ID\n\n"_s;
    EXPECT_EQ(manager->logs(),
        start
            + u"[notarytool] Processing complete\n  id: 2efe2717-52ef-43a5-96dc-0797e4ca1041\n  "
              u"status: Accepted\n\n"
              u"✅ Notarization Accepted!\nStapling ticket to DMG...\n"
              u"[stapler] The staple and validate action worked!\n\n"
              u"✅ Stapling Successful!\nRunning Gatekeeper verification...\n"
              u"[Gatekeeper] Running installation check...\n"_s
            + assessment + u"[Gatekeeper] Running disk image signature check...\n"_s + assessment
            + end);
    EXPECT_EQ(messages.join(QString()), manager->logs());
    EXPECT_EQ(scripted.calls(),
        (QStringList{u"xcrun <notarytool> <submit> </out/My App 1.0.dmg> <--keychain-profile> "
                     u"<My Profile> <--wait>"_s,
            u"xcrun <stapler> <staple> </out/My App 1.0.dmg>"_s,
            u"xcrun <stapler> <validate> </out/My App 1.0.dmg>"_s,
            u"spctl <-a> <-vvv> <-t> <install> </out/My App 1.0.dmg>"_s,
            u"spctl <-a> <-t> <open> <--context> <context:primary-signature> <-v> "
            u"</out/My App 1.0.dmg>"_s}));
}

TEST_F(NotarizationManagerTest, EndsWhereAStepFails)
{
    struct Row {
        const char* name;
        QString request, answer;
        bool isGood;
        QString end; // of the log
        int calls;
    };
    const Row rows[] = {
        {"a refused submission", u"submit"_s, u"echo status: Invalid"_s, false,
            u"[notarytool] status: Invalid\n\n❌ Process Failed: The notary service or its tool "
            u"reported a failure (invalidStatus).\n"_s,
            1},
        {"a staple that does not validate", u"validate"_s, u"echo no ticket >&2; exit 65"_s, false,
            u"✅ Notarization Accepted!\nStapling ticket to DMG...\n"
            u"[stapler] The staple and validate action worked!\n\n"
            u"❌ Process Failed: The command ended with status 65: no ticket\n"_s,
            3},
        {"what Gatekeeper rejects is not judged", u"install"_s, u"echo rejected >&2; exit 3"_s,
            true, end, 5},
    };
    for (const Row& row : rows) {
        FreshNotarizationManager test;
        await(test.manager->notarize(test.image));
        const qsizetype before = test.scripted.calls().size();
        test.scripted.answer(row.request, row.answer);
        await(test.manager->notarize(test.image));
        EXPECT_EQ(test.manager->notarizationSuccess(), row.isGood) << row.name;
        EXPECT_FALSE(test.manager->isProcessing()) << row.name;
        EXPECT_TRUE(test.manager->logs().startsWith(start)) << row.name;
        EXPECT_TRUE(test.manager->logs().endsWith(row.end))
            << row.name << qPrintable(test.manager->logs());
        EXPECT_EQ(test.scripted.calls().size() - before, row.calls) << row.name;
    }
}

TEST_F(NotarizationManagerTest, WithoutAProfileItOnlySaysSo)
{
    await(manager->notarize(image));
    const QString before = manager->logs();
    manager->setProfileName({});
    await(manager->notarize(image));
    EXPECT_EQ(manager->logs(), before + u"Error: No Keychain Profile Name provided.\n"_s);
    EXPECT_TRUE(manager->notarizationSuccess());
    EXPECT_FALSE(manager->isProcessing());
    EXPECT_EQ(scripted.calls().size(), 5);

    manager->setProfileName(u" "_s);
    await(manager->notarize(image));
    EXPECT_TRUE(scripted.calls()[5].contains(u"< >"_s)) << "blanks are a name";
}

TEST_F(NotarizationManagerTest, TheProfileIsRememberedAtOnce)
{
    const QString key = u"SavedNotaryProfileName"_s;
    EXPECT_EQ(defaults.string(key), u"My Profile"_s);
    EXPECT_EQ(NotarizationManager(host).profileName(), u"My Profile"_s);
    defaults.remove(key);
    EXPECT_EQ(NotarizationManager(host).profileName(), QString());
    EXPECT_EQ(defaults.string(key), QString()) << "written back";
}

TEST_F(NotarizationManagerTest, ARunOutlivesItsManagerAndItsProjectQuietly)
{
    QCoro::Task<> forgotten = manager->notarize(image);
    manager->clear();
    EXPECT_FALSE(manager->isProcessing());
    QCoro::Task<> next = manager->notarize(image);
    await(std::move(forgotten));
    await(std::move(next));
    EXPECT_EQ(manager->logs().count(u"Ready for distribution!"_s), 1);
    EXPECT_EQ(scripted.calls().size(), 10);
    EXPECT_TRUE(manager->notarizationSuccess());

    QCoro::Task<> orphan = manager->notarize(image);
    manager.reset();
    await(std::move(orphan));
    EXPECT_EQ(scripted.calls().size(), 15);
}

} // namespace
