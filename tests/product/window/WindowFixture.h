#pragma once

#include "app/MainWindow.h"
#include "app/ProductServices.h"
#include "app/SettingsWindowController.h"
#include "model/SettingsManager.h"
#include "platform/Clock.h"
#include "platform/UserDefaults.h"
#include "signing/SigningManager.h"
#include "wizard/WizardView.h"

#include "WindowUser.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

/// Waits are over on a later turn of the main loop, unless told not to hasten.
class HastyClock : public Clock {
public:
    QDateTime now() const override { return Clock::system().now(); }
    QCoro::Task<> wait(std::chrono::milliseconds duration, CancellationHandle cancellation) override
    {
        return Clock::system().wait(
            isHasty ? std::chrono::milliseconds(1) : duration, std::move(cancellation));
    }

    bool isHasty = true;
};

/// A home that becomes this process's own.
class FreshHome {
public:
    FreshHome();
    QString file(const QString& name) const { return m_folder.filePath(name); }

private:
    QTemporaryDir m_folder;
};

/// The program's windows in a fresh home, with the toolbox, the sample application and, once it is
/// asked for, a rehearsal's identity.
class WindowFixture : public testing::Test {
public:
    WindowFixture();

    /// Lets what was put off happen before the windows go.
    void TearDown() override { QCoreApplication::processEvents(); }

    /// What a program says, with its exit status before it.
    std::string answer(const std::vector<std::string>& command) const;
    static std::string tool(const char* macPath) { return TOOLBOX_DIR + std::string(macPath); }
    void makeIdentity() const;
    std::string seen() const { return user.everythingInView().toStdString(); }

    DMGConfig job() { return window.wizard().job().config(); }
    void go(NavigationStep step);
    void chooseIdentity() const;

    FreshHome home;
    QString app = home.file(QStringLiteral("Jané’s “Tool”.app"));
    QString image = home.file(QStringLiteral("Jané’s Tool 1.0.dmg"));
    UserDefaults defaults{home.file(QStringLiteral("defaults.plist"))};
    SettingsManager settings{defaults};
    HastyClock clock;
    ProductServices services{{SystemRoot(QStringLiteral(TOOLBOX_DIR),
                                  home.file(QStringLiteral(".local/share/vandor-dmg"))),
        defaults, settings, clock, home.file({})}};
    SigningManager settingsSigning{services.signingHost()};
    SettingsWindowController settingsWindow{
        {settings, settingsSigning, services.tools(), [this] { return services.clearCache(); }},
        home.file(QStringLiteral("windows.ini"))};
    MainWindow window{
        services.wizardHost([this] { settingsWindow.openSettingsWindow(); }), settings};
    WindowUser user;
};
