#include "wizard/WizardView.h"

#include "Await.h"
#include "Scratch.h"
#include "model/SettingsManager.h"
#include "notarization/NotaryService.h"
#include "platform/Bookmarks.h"
#include "platform/Clock.h"
#include "platform/FileIcons.h"
#include "platform/HostIconService.h"
#include "platform/HostToolRunner.h"
#include "platform/OsaScriptRunner.h"
#include "platform/UserDefaults.h"
#include "process/ShellRunner.h"
#include "signing/SecurityToolKeychain.h"
#include "views/Labels.h"
#include "views/SideList.h"

#include <QKeyEvent>
#include <QPushButton>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// The wizard over a host without any of the Mac's tools.
class Wizard : public testing::Test {
public:
    QPushButton* button(const QString& text)
    {
        for (QPushButton* each : wizard.findChildren<QPushButton*>()) {
            if (each->text() == text && each->isVisibleTo(&wizard))
                return each;
        }
        return nullptr;
    }
    QString title()
    {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        const auto* header = wizard.findChild<SectionHeader*>();
        return header == nullptr ? QString() : header->findChild<QLabel*>()->text();
    }
    QString inspectionLine()
    {
        for (ElidedLabel* each : wizard.findChildren<ElidedLabel*>()) {
            if (each->parentWidget() == button(u"Next"_s)->parentWidget())
                return each->fullText();
        }
        return {};
    }
    void choose(const QString& application)
    {
        wizard.job().edit([&](DMGConfig& job) { job.appURL = QUrl::fromLocalFile(application); });
    }
    void press(int key, Qt::KeyboardModifiers modifiers = {})
    {
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QCoreApplication::sendEvent(&wizard, &event);
        turn();
    }
    static void turn() { QCoreApplication::processEvents(); }

    Scratch scratch;
    UserDefaults defaults{scratch.path(u"app.plist"_s)};
    SettingsManager settings{defaults};
    SystemRoot root{scratch.path(u"tools"_s), scratch.path(u"state"_s)};
    HostToolRunner tools{root};
    ShellRunner shell{tools};
    OsaScriptRunner scripts{tools};
    HostIconService icons{root};
    FileIcons fileIcons{icons};
    SecurityToolKeychain keychain{tools};
    PreFlightInspector inspector{shell};
    NotaryService notary{shell, Clock::system()};
    HostBookmarks bookmarks;
    WizardView wizard{
        {{root, tools, Clock::system(), scripts, icons, settings, scratch.path(), nullptr},
            {tools, shell, defaults}, {notary, shell, defaults, scratch.path()},
            {defaults, bookmarks, ApplicationResources(scratch.path(u"resources"_s))}, keychain,
            inspector, fileIcons, [] {}, [] {}}};
};

} // namespace

TEST_F(Wizard, LeadsFromStepToStepOnceThereIsAnApplication)
{
    settings.setSkipAppValidation(true);
    turn();
    EXPECT_EQ(button(u"Next"_s), nullptr);
    SideList& steps = *wizard.findChild<SideList*>();
    steps.rows()[1]->click(); // locked
    turn();
    EXPECT_EQ(wizard.navigation().currentStep(), std::nullopt);
    steps.rows()[0]->click();
    turn();
    EXPECT_EQ(title(), u"Assets"_s);
    EXPECT_FALSE(button(u"Next"_s)->isEnabled());
    EXPECT_EQ(button(u"Back"_s), nullptr);

    choose(scratch.path(u"An app.app"_s));
    turn();
    EXPECT_EQ(inspectionLine(), u"Validation Sourced from Settings (Skipping Checks)"_s);
    for (const QString& expected : {u"Configuration"_s, u"Build & Progress"_s, u"Code Signing"_s,
             u"Notarization"_s, u"Distribution"_s}) {
        press(Qt::Key_Return);
        EXPECT_EQ(title(), expected);
    }
    EXPECT_EQ(button(u"Next"_s), nullptr);
    button(u"Back"_s)->click();
    turn();
    EXPECT_EQ(title(), u"Notarization"_s);

    button(u"New Project"_s)->click();
    turn();
    EXPECT_EQ(title(), u"Assets"_s);
    EXPECT_EQ(wizard.navigation().maxStepReached(), 0);
    EXPECT_EQ(wizard.job().config().appURL, std::nullopt);
    EXPECT_FALSE(steps.rows()[1]->isEnabled());
}

TEST_F(Wizard, AnInspectionThatFailsLeavesTheStepsToTheUser)
{
    wizard.navigation().setCurrentStep(0);
    turn();
    choose(scratch.path(u"An app.app"_s));
    ASSERT_TRUE(turnUntil([&] { return inspectionLine().startsWith(u"Validation Failed: "_s); }))
        << inspectionLine().toStdString();
    press(Qt::Key_Return);
    EXPECT_EQ(title(), u"Pre-Flight App Signing"_s);
    wizard.navigation().setCurrentStep(0);
    turn();
    wizard.job().edit([](DMGConfig& job) { job.appURL.reset(); });
    turn();
    EXPECT_EQ(inspectionLine(), QString());
    EXPECT_EQ(wizard.navigation().maxStepReached(), 0);
}
