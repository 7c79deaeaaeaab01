#include "NotarizationFixture.h"

#include "notarization/AppNotarizationManager.h"
#include "notarization/NotarizationManager.h"

using namespace Qt::StringLiterals;

namespace {

class AppNotarizationManagerTest : public NotarizationFixture {
public:
    AppNotarizationManagerTest() { manager.setProfileName(u"p"_s); }

    AppNotarizationManager manager{host};
    const QString zip = host.temporaryFolder + u"/My App.app.zip"_s;
    const QString start = u"Staring App Notarization for My App.app...\n"
                          u"Creating temporary Zip archive...\n"_s;
    const QString inspection = u"🔍 Starting Pre-flight Inspection for My App.app...\n"
                               u"\n--- 1. Checking Signature & Timestamp ---\n"_s;
};

struct FreshAppNotarizationManager : AppNotarizationManagerTest { };

TEST_F(AppNotarizationManagerTest, TakesAnApplicationToItsEnd)
{
    scratch.write(u"tmp/My App.app.zip"_s, "of yesterday");
    scripted.answer(u"archive"_s, u"[ -e \"$last\" ] && exit 1; echo zip > \"$last\""_s);
    QCoro::Task<> run = manager.notarize(application);
    EXPECT_TRUE(manager.isProcessing());
    await(manager.notarize(application));
    await(manager.preflight(application));
    EXPECT_EQ(manager.logs(), start) << "nothing else starts meanwhile";
    await(std::move(run));
    EXPECT_EQ(manager.logs(),
        start + u"✅ Zip created at: "_s + zip
            + u"\nSubmitting to Apple Notarization Service...\n"
              u"[notarytool] Processing complete\n  id: 2efe2717-52ef-43a5-96dc-0797e4ca1041\n  "
              u"status: Accepted\n\n"
              u"✅ Notarization Accepted!\nStapling ticket to App Bundle...\n"
              u"[stapler] The staple and validate action worked!\n\n"
              u"✅ Stapling Successful!\nApp is ready for DMG creation.\n"_s);
    EXPECT_TRUE(manager.notarizationSuccess());
    EXPECT_FALSE(manager.isProcessing());
    EXPECT_FALSE(QFile::exists(zip));
    EXPECT_EQ(scripted.calls(),
        (QStringList{u"ditto <-c> <-k> <--keepParent> </out/My App.app> <"_s + zip + u'>',
            u"xcrun <notarytool> <submit> <"_s + zip + u"> <--keychain-profile> <p> <--wait>"_s,
            u"xcrun <stapler> <staple> </out/My App.app>"_s,
            u"xcrun <stapler> <validate> </out/My App.app>"_s}));
}

TEST_F(AppNotarizationManagerTest, EndsWhereAStepFails)
{
    struct Row {
        const char* name;
        QString request, answer;
        QString end; // of the log
        bool leavesArchive;
    };
    const Row rows[] = {
        {"no archive", u"archive"_s, u"echo 'disk full' >&2; exit 1"_s,
            u"Creating temporary Zip archive...\n"
            u"❌ Process Failed: The command ended with status 1: disk full\n"_s,
            false},
        {"a refused submission", u"submit"_s, u"echo status: Invalid"_s,
            u"❌ Process Failed: The notary service or its tool reported a failure "
            u"(invalidStatus).\n"_s,
            true},
        {"no ticket", u"validate"_s, u"exit 65"_s,
            u"❌ Process Failed: The command ended with status 65.\n"_s, true},
    };
    for (const Row& row : rows) {
        FreshAppNotarizationManager test;
        test.scripted.answer(row.request, row.answer);
        await(test.manager.notarize(test.application));
        EXPECT_TRUE(test.manager.logs().startsWith(start)) << row.name;
        EXPECT_TRUE(test.manager.logs().endsWith(row.end))
            << row.name << qPrintable(test.manager.logs());
        EXPECT_FALSE(test.manager.notarizationSuccess() || test.manager.isProcessing()) << row.name;
        EXPECT_EQ(QFile::exists(test.zip), row.leavesArchive) << row.name;
    }
}

TEST_F(AppNotarizationManagerTest, ANewProjectLeavesTheArchiveOfTheLastOneAlone)
{
    QCoro::Task<> earlier = manager.notarize(application);
    manager.clear();
    QCoro::Task<> later = manager.notarize(application);
    await(std::move(earlier));
    await(std::move(later));
    EXPECT_TRUE(manager.notarizationSuccess()) << qPrintable(manager.logs());
    const QStringList submissions = scripted.calls().filter(u"<submit>"_s);
    ASSERT_EQ(submissions.size(), 2);
    EXPECT_NE(submissions[0], submissions[1]);
    EXPECT_EQ(submissions.filter(u"/My App.app.zip>"_s).size(), 2);
    EXPECT_TRUE(QDir(host.temporaryFolder).isEmpty());
}

TEST_F(AppNotarizationManagerTest, WithoutAProfileItOnlySaysSo)
{
    manager.setProfileName({});
    await(manager.notarize(application));
    EXPECT_EQ(manager.logs(), u"Error: No Keychain Profile Name provided.\n"_s);
    EXPECT_EQ(scripted.calls(), QStringList());
}

TEST_F(AppNotarizationManagerTest, TheProfileIsTheImagesToo)
{
    manager.setProfileName(u"both"_s);
    EXPECT_EQ(NotarizationManager(host).profileName(), u"both"_s);
}

TEST_F(AppNotarizationManagerTest, InspectionTellsWhatIsMissing)
{
    const QString signature = u"Timestamp=5 Mar 2026 at 14:03:27\n"_s;
    const QString second = u"\n--- 2. Checking Notarization ---\n"_s;
    const QString assessment = u"/out/My App.app: accepted\nsource=Notarized Developer ID\n"_s;
    const QString third = u"\n--- 3. Checking Staple ---\n"_s;
    const QString ready = u"The validate action worked!\n\n✅ Staple Verification Passed.\n"
                          u"\n🎉 Application is fully Signed, Notarized, and Stapled.\n"_s;
    const QString notReady = u"\n⚠️ App is not fully ready. Please complete Notarization.\n"_s;
    struct Row {
        const char* name;
        QString request, answer;
        QString log; // after the first header
        bool isReady;
    };
    const Row rows[] = {
        {"ready", u"none"_s, {}, signature + second + assessment + third + ready, true},
        {"unsigned", u"describe"_s, u"echo 'not signed at all' >&2; exit 1"_s,
            u"❌ Signature Check Error: The command ended with status 1: not signed at all\n"_s,
            false},
        {"without a timestamp", u"describe"_s, u"echo Signature=adhoc >&2"_s,
            u"Signature=adhoc\n"
            u"❌ Verification Failed: 'Timestamp' field not found in signature.\n"_s,
            false},
        {"another source, but stapled", u"install"_s, u"echo source=Developer ID >&2"_s,
            signature + second
                + u"source=Developer ID\n⚠️ 'source=Notarized Developer ID' not found. "
                  u"Checking "
                  u"Staple might clarify.\n"_s
                + third + ready,
            true},
        {"rejected, but stapled", u"install"_s, u"echo rejected >&2; exit 3"_s,
            signature + second
                + u"⚠️ spctl returned error (common if not stapled/offline):\nrejected\n\n\n"_s
                + third + ready,
            true},
        {"no ticket", u"validate"_s, u"echo no ticket; exit 65"_s,
            signature + second + assessment + third
                + u"no ticket\n\n\n\n❌ Staple Verification Failed.\n"_s + notReady,
            false},
        {"a stapler that says nothing", u"validate"_s, u"true"_s,
            signature + second + assessment + third + u"\n\n❌ Staple Verification Failed.\n"_s
                + notReady,
            false},
    };
    for (const Row& row : rows) {
        FreshAppNotarizationManager test;
        test.scripted.answer(row.request, row.answer);
        test.signing.answer(row.request, row.answer);
        await(test.manager.preflight(test.application));
        EXPECT_EQ(test.manager.logs(), inspection + row.log) << row.name;
        EXPECT_EQ(test.manager.notarizationSuccess(), row.isReady) << row.name;
        EXPECT_FALSE(test.manager.isProcessing()) << row.name;
    }
}

TEST_F(AppNotarizationManagerTest, AnInspectionWithoutAShellSaysSoOnce)
{
    await(manager.preflight(application));
    signing.remove(u"/bin/zsh"_s);
    await(manager.preflight(application));
    EXPECT_EQ(manager.logs(),
        inspection
            + u"❌ Signature Check Error: Could not start “/bin/zsh”: No such file or "
              u"directory.\n"_s);
    EXPECT_FALSE(manager.notarizationSuccess());
}

} // namespace
