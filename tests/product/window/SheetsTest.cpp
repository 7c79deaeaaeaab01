#include "WindowFixture.h"

#include "views/Sheet.h"
#include "views/SigningView.h"

#include <QApplication>
#include <QDirIterator>
#include <QFile>

using namespace Qt::StringLiterals;

namespace {

class Sheets : public WindowFixture {
public:
    void chooseFiles()
    {
        window.wizard().job().edit([this](DMGConfig& edited) {
            edited.appURL = QUrl::fromLocalFile(app);
            edited.outputURL = QUrl::fromLocalFile(image);
        });
    }
    Sheet* sheet() const { return window.findChild<Sheet*>(); }
    bool isGone() const
    {
        return WindowUser::waitUntil([this] {
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            return sheet() == nullptr;
        });
    }
    void startBuild()
    {
        go(NavigationStep::build);
        user.click(u"Build DMG"_s);
        auto* name = window.findChild<QWidget*>(u"fileNameEdit"_s);
        user.typeInto(name, image);
        user.press(name, Qt::Key_Return);
        ASSERT_TRUE(user.waitToSee(u"Cancel Build"_s)) << seen();
    }
    bool hasVolume()
    {
        QDirIterator each(
            home.file({}), {job().volumeName}, QDir::Dirs, QDirIterator::Subdirectories);
        return each.hasNext();
    }
};

} // namespace

TEST_F(Sheets, WithoutTheKeychainSigningExplainsItselfFirst)
{
    makeIdentity();
    chooseFiles();
    go(NavigationStep::appSigning);
    user.click(u"Sign App Bundle & Enable Hardened Runtime"_s); // nobody is chosen yet
    EXPECT_EQ(sheet(), nullptr);
    chooseIdentity();
    EXPECT_TRUE(answer({tool("/usr/bin/security"), "delete-identity", "-c",
                           "Developer ID Application: Jane Doe (ABCDE12345)"})
                    .starts_with("0 "));

    user.click(u"Sign App Bundle & Enable Hardened Runtime"_s);
    ASSERT_TRUE(user.waitToSee(u"Keychain Access Required"_s));
    user.press(sheet(), Qt::Key_Escape);
    EXPECT_TRUE(isGone());
    EXPECT_FALSE(user.sees(u"Identity: Developer ID"_s)) << seen();

    user.click(u"Sign App Bundle & Enable Hardened Runtime"_s);
    ASSERT_TRUE(user.waitToSee(u"Keychain Access Required"_s));
    user.click(u"Continue"_s);
    user.press(sheet(), Qt::Key_Escape); // while it looks again
    EXPECT_TRUE(isGone());
    EXPECT_FALSE(window.wizard().isBusy());

    user.click(u"Sign App Bundle & Enable Hardened Runtime"_s);
    ASSERT_TRUE(user.waitToSee(u"Keychain Access Required"_s));
    user.click(u"Continue"_s);
    EXPECT_TRUE(isGone());
    EXPECT_TRUE(user.waitToSee(u"Identity: Developer ID"_s)) << seen(); // tried all the same
    EXPECT_TRUE(WindowUser::waitUntil([&] { return !window.wizard().isBusy(); }));

    user.click(u"Sign App Bundle & Enable Hardened Runtime"_s);
    ASSERT_TRUE(user.waitToSee(u"Keychain Access Required"_s));
    window.wizard().navigation().setCurrentStep(rawValue(NavigationStep::assets));
    EXPECT_TRUE(isGone());
}

TEST_F(Sheets, LeaveTheKeysToTheScreenThatHasComeMeanwhile)
{
    window.activateWindow();
    go(NavigationStep::signing);
    chooseFiles();
    user.tabTo(u"Sign DMG"_s);
    showAlert(&window, u"Wait"_s, u"a moment"_s);
    go(NavigationStep::distribution);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    user.click(u"OK"_s);
    EXPECT_EQ(QApplication::focusWidget(), &window.wizard());
    user.key(Qt::Key_Left, Qt::ControlModifier);
    EXPECT_TRUE(user.waitToSee(u"Notarization"_s));
}

TEST_F(Sheets, WithoutAnImageThereIsNothingToSign)
{
    makeIdentity();
    go(NavigationStep::signing);
    EXPECT_TRUE(user.sees(u"No DMG Built Recently"_s));
    user.click(u"Sign DMG"_s); // nobody is chosen yet
    EXPECT_EQ(sheet(), nullptr);
    chooseIdentity();
    user.click(u"Sign DMG"_s);
    EXPECT_TRUE(user.sees(u"No DMG selected. Please build the DMG first."_s)) << seen();
}

TEST_F(Sheets, WhatIsNoImageIsRefusedWithAnAlert)
{
    go(NavigationStep::signing);
    for (const auto& [file, isTaken] :
        {std::pair("a.dmg.zip", false), std::pair(".dmg", false), std::pair("A.DMG", true)}) {
        user.dropOn(window.findChild<SigningView*>(), home.file(QString::fromLatin1(file)));
        EXPECT_EQ(sheet() != nullptr, !isTaken) << file;
        EXPECT_EQ(user.sees(u"Please drop a valid .dmg file."_s), !isTaken);
        if (!isTaken)
            user.click(u"OK"_s);
        EXPECT_TRUE(isGone());
        EXPECT_EQ(job().outputURL.has_value(), isTaken) << file;
    }
}

TEST_F(Sheets, QuittingAsksWhileWorkRunsAndClosesTheSettingsToo)
{
    makeIdentity();
    chooseFiles();
    go(NavigationStep::appSigning);
    chooseIdentity();
    const auto settingsAreOpen = [&] {
        return settingsWindow.window() != nullptr && settingsWindow.window()->isActiveWindow();
    };
    window.activateWindow();
    user.key(Qt::Key_Comma, Qt::ControlModifier);
    ASSERT_TRUE(WindowUser::waitUntil(settingsAreOpen));
    user.click(u"Sign App Bundle & Enable Hardened Runtime"_s);
    ASSERT_TRUE(WindowUser::waitUntil([&] { return window.wizard().isBusy(); }));
    window.setWindowState(Qt::WindowMinimized);
    for (int times = 0; times < 2; ++times) { // once is enough
        user.key(Qt::Key_Q, Qt::ControlModifier);
        EXPECT_TRUE(user.sees(u"Close while work runs?"_s));
        EXPECT_FALSE(window.isMinimized());
        EXPECT_TRUE(window.isActiveWindow());
        EXPECT_EQ(window.findChildren<Sheet*>().size(), 1);
    }
    user.click(u"Keep Working"_s);
    EXPECT_TRUE(isGone());
    EXPECT_TRUE(user.waitToSee(u"Signed · "_s)) << seen();
    ASSERT_TRUE(WindowUser::waitUntil([&] { return !window.wizard().isBusy(); }));
    EXPECT_NE(settingsWindow.window(), nullptr);
    user.key(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_FALSE(window.isVisible());
    EXPECT_TRUE(WindowUser::waitUntil([&] { return settingsWindow.window() == nullptr; }));
}

TEST_F(Sheets, ClosingAsksWhileABuildOfAnEarlierProjectRuns)
{
    chooseFiles();
    ASSERT_NO_FATAL_FAILURE(startBuild());
    user.click(u"New Project"_s);
    EXPECT_FALSE(user.sees(u"Cancel Build"_s));
    EXPECT_FALSE(window.close());
    EXPECT_TRUE(user.sees(u"Close while work runs?"_s));
    user.click(u"Keep Working"_s);
    EXPECT_TRUE(WindowUser::waitUntil([&] { return !window.wizard().isBusy(); }));
    EXPECT_TRUE(QFile::exists(image));
    EXPECT_TRUE(window.close());
}

TEST_F(Sheets, ClosingAnywayComplainsOfNothing)
{
    makeIdentity();
    const std::string said = answer({tool("/usr/bin/hdiutil"), "create", "-size", "800m", "-fs",
        "HFS+", "-volname", "Big", "-layout", "NONE", image.toStdString()});
    ASSERT_TRUE(said.starts_with("0 ")) << said;
    chooseFiles();
    go(NavigationStep::signing);
    chooseIdentity();
    user.click(u"Sign DMG"_s);
    ASSERT_TRUE(user.waitToSee(u"Signing in progress..."_s));
    EXPECT_FALSE(window.close());
    user.click(u"Close Anyway"_s);
    bool complains = false;
    EXPECT_TRUE(WindowUser::waitUntil([&] {
        complains = complains || user.sees(u"Signing Error"_s);
        return !window.isVisible();
    }));
    EXPECT_FALSE(complains);
}

TEST_F(Sheets, ClosingAnywayLeavesNothingBehindOfABuild)
{
    clock.isHasty = false;
    chooseFiles();
    ASSERT_NO_FATAL_FAILURE(startBuild());
    ASSERT_TRUE(user.waitToSee(u"Setting volume icon..."_s)) << seen();
    ASSERT_TRUE(hasVolume());
    EXPECT_FALSE(window.close());
    user.click(u"Close Anyway"_s);
    EXPECT_TRUE(WindowUser::waitUntil([&] { return !window.isVisible(); }));
    EXPECT_FALSE(hasVolume());
    EXPECT_FALSE(QFile::exists(image));
}
