#include "SigningFixture.h"

using namespace Qt::StringLiterals;

namespace {

class SigningManagerTest : public SigningFixture {
public:
    const QUrl image = QUrl::fromLocalFile(u"/out/My App 1.0.dmg"_s);
    const QUrl application = QUrl::fromLocalFile(u"/out/My App.app/"_s);
    const QString heading = u"Signing My App 1.0.dmg...\n"
                            u"Identity: Developer ID Application: Ada (TEAM)\n"_s;
};

/// One of its own for a row of a table.
struct FreshSigningManager : SigningManagerTest { };

TEST_F(SigningManagerTest, SignsAndVerifiesAnImage)
{
    QCoro::Task<> signing = manager->signDMG(image, identity);
    EXPECT_TRUE(manager->isSigning());
    EXPECT_EQ(manager->logs(), heading);
    await(std::move(signing));
    EXPECT_FALSE(manager->isSigning());
    EXPECT_TRUE(manager->signSuccess());
    EXPECT_EQ(manager->logs(),
        heading
            + u"[ERR] /out/My App 1.0.dmg: signed\n\nVerifying signature...\n"
              u"✅ Signing Successful!\n"_s);
    EXPECT_EQ(scripted.calls(),
        (QStringList{u"codesign <--force> <--sign> <%1> <--timestamp> <--verbose> "
                     u"</out/My App 1.0.dmg>"_s.arg(ada),
            u"codesign <--verify> <--verbose> </out/My App 1.0.dmg>"_s}));
    EXPECT_EQ(manager->appSigningLogs(), QString()) << "that is the applications' log";
}

TEST_F(SigningManagerTest, OnlyTheVerificationDecides)
{
    struct Row {
        const char* name;
        QString signing;
        QString verification;
        QString end; // of the log
        bool isGood;
    };
    const Row rows[] = {
        {"a good signature in spite of the status", u"echo why; exit 1"_s, u"true"_s,
            u"why\n\nVerifying signature...\n✅ Signing Successful!\n"_s, true},
        {"a bad one in spite of it", u"true"_s, u"echo 'not signed at all' >&2; exit 3"_s,
            u"TEAM)\nVerifying signature...\n"
            u"❌ Verification Failed: The command ended with status 3: not signed at all\n"_s,
            false},
    };
    for (const Row& row : rows) {
        FreshSigningManager test;
        await(test.manager->signDMG(test.image, test.identity));
        test.scripted.answer(u"sign"_s, row.signing);
        test.scripted.answer(u"verify"_s, row.verification);
        QCoro::Task<> signing = test.manager->signDMG(test.image, test.identity);
        EXPECT_FALSE(test.manager->signSuccess()) << row.name;
        if (row.isGood)
            await(std::move(signing));
        else
            EXPECT_THROW(await(std::move(signing)), ShellError) << row.name;
        EXPECT_EQ(test.manager->signSuccess(), row.isGood) << row.name;
        EXPECT_FALSE(test.manager->isSigning()) << row.name;
        EXPECT_TRUE(test.manager->logs().endsWith(row.end))
            << row.name << qPrintable(test.manager->logs());
    }
}

TEST_F(SigningManagerTest, AMissingShellIsSaidTwice)
{
    scripted.remove(u"/bin/zsh"_s);
    EXPECT_THROW(await(manager->signDMG(image, identity)), ShellError);
    const QString reason = u"Could not start “/bin/zsh”: No such file or directory.\n"_s;
    EXPECT_EQ(manager->logs(),
        heading + u"Failed to launch command: "_s + reason + u"Verifying signature...\n"_s
            + u"❌ Verification Failed: "_s + reason);
}

TEST_F(SigningManagerTest, PathsReachTheToolAsTheyAre)
{
    for (const QString& name :
        {u"My \"App\" $HOME `id` $(id) \\.dmg"_s, u"100% Zoë's %20 [x]*!.dmg"_s}) {
        FreshSigningManager test;
        await(test.manager->signDMG(QUrl::fromLocalFile(u"/out/"_s + name), test.identity));
        EXPECT_TRUE(test.manager->logs().startsWith(u"Signing %1...\n"_s.arg(name)));
        for (const QString& call : test.scripted.calls())
            EXPECT_TRUE(call.endsWith(u"</out/%1>"_s.arg(name))) << qPrintable(call);
        EXPECT_EQ(test.scripted.calls().size(), 2);
    }
}

TEST_F(SigningManagerTest, EachKindRunsOnceAtATimeAndBesideTheOther)
{
    QCoro::Task<> first = manager->signDMG(image, identity);
    await(manager->signDMG(image, identity));
    QCoro::Task<std::optional<ShellError>> app = manager->signApp(application, identity);
    EXPECT_FALSE(await(manager->signApp(application, identity)));
    EXPECT_TRUE(manager->isSigning() && manager->isAppSigning()) << "those came back at once";
    await(std::move(first));
    await(std::move(app));
    EXPECT_EQ(scripted.calls().filter(u"<--force>"_s).size(), 2);
    EXPECT_EQ(scripted.calls().filter(u"<--verify>"_s).size(), 2);
}

TEST_F(SigningManagerTest, AnApplicationIsInspectedOnceItVerified)
{
    QStringList messages;
    QObject::connect(manager.get(), &SigningManager::messageLogged,
        [&](const QString& text) { messages += text; });
    EXPECT_FALSE(await(manager->signApp(application, identity)));
    EXPECT_EQ(messages.join(QString()),
        u"Signing My App.app...\nIdentity: Developer ID Application: Ada (TEAM)\n"
        u"[ERR] /out/My App.app: signed\n\nVerifying app signature...\n"
        u"✅ App Signing Successful!\nInspecting My App.app...\n"
        u"✅ Signed by: Developer ID Application: Ada (TEAM)\n"_s);
    EXPECT_EQ(manager->appSigningLogs(),
        u"Inspecting My App.app...\n✅ Signed by: Developer ID Application: Ada (TEAM)\n"_s);
    EXPECT_EQ(manager->appSignatureStatus(),
        AppSignatureStatus::signedBy(u"Developer ID Application: Ada (TEAM)"_s));
    EXPECT_FALSE(manager->isAppSigning() || manager->isScanning());
    EXPECT_EQ(scripted.calls(),
        (QStringList{u"codesign <--force> <--options> <runtime> <--deep> <--sign> <%1> <--verbose> "
                     u"</out/My App.app>"_s.arg(ada),
            u"codesign <--verify> <--verbose> </out/My App.app>"_s,
            u"codesign <-dv> <--verbose=4> </out/My App.app>"_s}));
}

TEST_F(SigningManagerTest, AnApplicationThatDoesNotVerifyIsNotInspected)
{
    scripted.answer(u"verify"_s, u"echo 'a sealed resource is missing' >&2; exit 1"_s);
    const auto failure = await(manager->signApp(application, identity));
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->exitStatus(), 1);
    EXPECT_TRUE(manager->appSigningLogs().endsWith(
        u"Verifying app signature...\n❌ Verification Failed: The command ended with status 1: "
        u"a sealed resource is missing\n"_s));
    EXPECT_EQ(manager->appSignatureStatus(), AppSignatureStatus::unknown());
    EXPECT_FALSE(manager->isAppSigning());
    EXPECT_EQ(scripted.calls().filter(u"<-dv>"_s), QStringList());
}

TEST_F(SigningManagerTest, InspectionTellsSignaturesApart)
{
    struct Row {
        const char* name;
        QString answer;
        AppSignatureStatus status;
        QString message;
    };
    const Row rows[] = {
        {"for distribution, the first authority counts",
            u"printf 'Format=app\\nAuthority=Developer ID Application: Ada (T)\\n"
            u"Authority=Developer ID Certification Authority\\nAuthority=Root\\n' >&2"_s,
            AppSignatureStatus::signedBy(u"Developer ID Application: Ada (T)"_s),
            u"✅ Signed by: Developer ID Application: Ada (T)"_s},
        {"the kind is named by a later line",
            u"printf 'Authority=First\\nAuthority=Developer ID Application: Ada\\n' >&2"_s,
            AppSignatureStatus::signedBy(u"First"_s), u"✅ Signed by: First"_s},
        {"for development", u"printf 'Authority=Apple Development: Ada\\nAuthority=Root\\n' >&2"_s,
            AppSignatureStatus::signedBy(u"Apple Development: Ada (Non-Distribution)"_s),
            u"⚠️ Signed by: Apple Development: Ada"_s},
        {"every mark is taken out of the line", u"echo 'x Authority=Authority=y'"_s,
            AppSignatureStatus::signedBy(u"x y (Non-Distribution)"_s), u"⚠️ Signed by: x y"_s},
        {"unsigned, and no failure", u"echo 'code object is not signed at all' >&2"_s,
            AppSignatureStatus::unsignedCode(), u"⚠️ App is unsigned."_s},
        {"unsigned before development",
            u"printf 'Authority=A\\ncode object is not signed at all\\n'"_s,
            AppSignatureStatus::unsignedCode(), u"⚠️ App is unsigned."_s},
        {"a failure, whatever it says", u"echo Authority=Developer ID Application: x; exit 1"_s,
            AppSignatureStatus::unsignedCode(), u"⚠️ App appears unsigned or invalid."_s},
        {"ad hoc", u"echo Signature=adhoc >&2"_s,
            AppSignatureStatus::invalid(u"Unknown signature state"_s),
            u"❓ Unknown signature state."_s},
    };
    for (const Row& row : rows) {
        scripted.answer(u"inspect"_s, row.answer);
        QCoro::Task<> inspection = manager->checkAppSignature(application);
        EXPECT_TRUE(manager->isScanning()) << row.name;
        EXPECT_EQ(manager->appSigningLogs(), u"Inspecting My App.app...\n"_s) << row.name;
        await(std::move(inspection));
        EXPECT_FALSE(manager->isScanning()) << row.name;
        EXPECT_EQ(manager->appSignatureStatus(), row.status) << row.name;
        EXPECT_EQ(manager->appSigningLogs(), u"Inspecting My App.app...\n"_s + row.message + u'\n')
            << row.name;
    }
}

TEST_F(SigningManagerTest, WhatCameOfAnEarlierApplicationOrProjectIsNotTold)
{
    QCoro::Task<> inspection = manager->checkAppSignature(application);
    QCoro::Task<std::optional<ShellError>> ofApplication = manager->signApp(application, identity);
    manager->forgetApplication();
    manager->setAppSigningLogs(u"of another one"_s);
    await(std::move(inspection));
    await(std::move(ofApplication));
    EXPECT_EQ(manager->appSigningLogs(), u"of another one"_s);
    EXPECT_EQ(manager->appSignatureStatus(), AppSignatureStatus::unknown());
    EXPECT_FALSE(manager->isScanning() || manager->isAppSigning());
    QCoro::Task<> signing = manager->signDMG(image, identity);
    manager->clear();
    await(std::move(signing));
    EXPECT_EQ(manager->logs(), QString());
}

TEST_F(SigningManagerTest, OperationsOutliveTheirManagerQuietly)
{
    scripted.answer(u"sign"_s, u"sleep 0.2; echo late"_s);
    QCoro::Task<> ofImage = manager->signDMG(image, identity);
    QCoro::Task<std::optional<ShellError>> ofApplication = manager->signApp(application, identity);
    QCoro::Task<> inspection = manager->checkAppSignature(application);
    manager.reset();
    await(std::move(ofImage));
    EXPECT_FALSE(await(std::move(ofApplication)));
    await(std::move(inspection));
    EXPECT_EQ(scripted.calls().filter(u"<--verify>"_s).size(), 2);
}

} // namespace
