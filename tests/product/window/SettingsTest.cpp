#include "WindowFixture.h"

#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPointer>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

class Settings : public WindowFixture {
public:
    Settings()
    {
        settingsWindow.openSettingsWindow();
        EXPECT_TRUE(WindowUser::waitUntil([&] { return settingsWindow.window() != nullptr; }));
        window.hide(); // what is looked for below is in the settings
    }
    QString shown(const QString& field) const
    {
        return qobject_cast<QLineEdit*>(user.control(field))->text();
    }
    bool canPress(const QString& button) const { return user.control(button)->isEnabled(); }
};

} // namespace

TEST_F(Settings, CredentialsAreStoredAndVerifiedOnceTheyAreThere)
{
    user.click(u"Notarization"_s);
    EXPECT_EQ(shown(u"Profile Name"_s), u"VandorDMG-Profile"_s);
    const std::pair<QString, QString> needed[] = {{u"Apple ID"_s, u"jane@example.com"_s},
        {u"Team ID"_s, u"ABCDE12345"_s}, {u"App-Specific Password"_s, u"abcd-efgh-ijkl-mnop"_s}};
    for (const auto& [field, text] : needed) {
        EXPECT_FALSE(canPress(u"Store Credentials"_s)) << field.toStdString();
        user.type(field, text);
    }
    EXPECT_EQ(settings.notaryAppleID(), u"jane@example.com"_s);

    user.type(u"Profile Name"_s, u""_s);
    user.press(user.control(u"Profile Name"_s), Qt::Key_Backspace);
    EXPECT_FALSE(canPress(u"Verify with History"_s));
    user.type(u"Profile Name"_s, u"jane"_s);
    user.click(u"Verify with History"_s);
    EXPECT_TRUE(user.waitToSee(u"Verification Failed: "_s)) << seen();
    EXPECT_EQ(shown(u"App-Specific Password"_s), u"abcd-efgh-ijkl-mnop"_s);

    user.click(u"Store Credentials"_s);
    EXPECT_TRUE(user.waitToSee(u"Success: Credentials stored in Keychain."_s)) << seen();
    EXPECT_EQ(shown(u"App-Specific Password"_s), QString());
    user.click(u"Verify with History"_s);
    EXPECT_TRUE(user.waitToSee(u"Success: Credentials Verified (History access confirmed)."_s))
        << seen();
}

TEST_F(Settings, PagesWriteThroughAndTellWhatTheyDid)
{
    user.click(u"Workflow"_s);
    user.type(u"DMG Naming Template"_s, u"${APP_NAME} ${DATE}.dmg"_s);
    EXPECT_EQ(settings.namingTemplate(), u"${APP_NAME} ${DATE}.dmg"_s);
    user.click(u"Source is already Signed & Notarized"_s);
    EXPECT_TRUE(settings.skipAppValidation());
    user.click(u"Build"_s);
    user.click(u"ULFO (Fast, Lzfse)"_s);
    EXPECT_TRUE(WindowUser::waitUntil([&] { return settings.defaultCompression() == "ULFO"_L1; }));
    user.type(u"Width"_s, u"720.5"_s);
    user.type(u"Width"_s, u"720.5"_s);
    EXPECT_EQ(settings.defaultWindowWidth(), 720.5);
    user.click(u"About"_s);
    user.click(u"Build"_s);
    user.type(u"Width"_s, u"1e308"_s);
    user.click(u"About"_s);
    EXPECT_EQ(settings.defaultWindowWidth(), 720.5);

    const QString leftover = home.file(u"vandor-%1/killed/work"_s.arg(::getuid()));
    QDir().mkpath(leftover);
    QFile archive(leftover + u"/archive.zip"_s);
    ASSERT_TRUE(archive.open(QIODevice::WriteOnly));
    archive.write(QByteArray(5000, 'x'));
    archive.close();
    user.click(u"Environment"_s);
    user.click(u"Clear Cache"_s);
    EXPECT_TRUE(user.waitToSee(u"Freed 4.88 KiB."_s)) << seen();
    EXPECT_FALSE(QFile::exists(leftover));
    user.click(u"About"_s);
    EXPECT_TRUE(user.waitToSee(u"0 DMGs Created"_s)) << seen();

    SettingsManager later(defaults);
    EXPECT_TRUE(later.skipAppValidation());
    EXPECT_EQ(later.defaultCompression(), u"ULFO"_s);
}

TEST_F(Settings, FollowTheIdentityThatIsChosenInTheWizard)
{
    makeIdentity();
    user.click(u"Refresh Identities"_s);
    ASSERT_TRUE(WindowUser::waitUntil([&] { return !settingsSigning.identities().isEmpty(); }));
    EXPECT_TRUE(user.sees(u"No Identity Selected"_s));
    settingsWindow.window()->hide();
    window.show();
    go(NavigationStep::signing);
    chooseIdentity();
    settingsWindow.openSettingsWindow();
    EXPECT_TRUE(user.waitToSee(u"Signing Enabled"_s)) << seen();
}

TEST_F(Settings, OpenInOneWindowWhereItWasLeft)
{
    const QPointer<QWidget> first = settingsWindow.window();
    const QRect left(60, 40, 960, 640);
    first->setGeometry(left);
    settingsWindow.openSettingsWindow();
    QCoreApplication::processEvents();
    EXPECT_EQ(settingsWindow.window(), first.data());

    first->activateWindow();
    user.key(Qt::Key_W, Qt::ControlModifier);
    ASSERT_TRUE(WindowUser::waitUntil([&] { return settingsWindow.window() == nullptr; }));
    settingsWindow.openSettingsWindow();
    ASSERT_TRUE(WindowUser::waitUntil([&] { return settingsWindow.window() != nullptr; }));
    EXPECT_EQ(settingsWindow.window()->geometry(), left);
}

TEST_F(Settings, LeaveTheKeysWhereTheyWereAndNoNumberHalfErased)
{
    settingsWindow.window()->activateWindow();
    user.click(u"Notarization"_s);
    user.type(u"Apple ID"_s, u"jane@example.com"_s);
    user.type(u"Team ID"_s, u"ABCDE12345"_s);
    user.type(u"App-Specific Password"_s, u"abcd-efgh-ijkl-mnop"_s);
    QWidget* verify = user.control(u"Verify with History"_s);
    verify->setFocus();
    user.key(Qt::Key_Space);
    EXPECT_NE(settingsWindow.window()->focusWidget(), user.control(u"Store Credentials"_s));
    EXPECT_TRUE(user.waitToSee(u"Verification Failed: "_s)) << seen();
    EXPECT_EQ(settingsWindow.window()->focusWidget(), verify);

    user.click(u"Build"_s);
    user.control(u"Width"_s)->setFocus();
    user.key(Qt::Key_End);
    for (int digit = 0; digit < 3; ++digit)
        user.key(Qt::Key_Backspace);
    EXPECT_EQ(settings.defaultWindowWidth(), 6);
    settings.openSettings(SettingsSection::about);
    EXPECT_EQ(settings.defaultWindowWidth(), 600);
}
