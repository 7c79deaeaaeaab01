#include "app/ApplicationIcon.h"
#include "app/MainWindow.h"
#include "app/ProductServices.h"
#include "app/SettingsWindowController.h"
#include "cli/Interruption.h"
#include "model/SettingsManager.h"
#include "platform/Activation.h"
#include "platform/Clock.h"
#include "platform/MainQueue.h"
#include "platform/PlatformError.h"
#include "platform/UserDefaults.h"
#include "signing/SigningManager.h"
#include "views/Theme.h"

#include <QApplication>
#include <QDir>
#include <QStandardPaths>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

int runWindows()
{
    ProductServices services({SystemRoot::host(), UserDefaults::standard(),
        SettingsManager::shared(), Clock::system(), QDir::tempPath()});
    const QString stateFile =
        QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) + u"/windows.ini"_s;
    SettingsWindowController settingsWindow(
        {services.settings(), SigningManager::shared(), services.tools(),
            [&services] { return services.clearCache(); }},
        stateFile);
    const auto openSettings = [&settingsWindow] { settingsWindow.openSettingsWindow(); };
    services.settings().setOpenSettingsAction(openSettings);

    MainWindow window(services.wizardHost(openSettings), services.settings());
    Activation::setHandler([&window] {
        window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
        window.raise();
        window.activateWindow();
    });
    const Interruption interruption;
    QObject::connect(&interruption, &Interruption::requested, &window, &MainWindow::stopAndClose);
    window.resize(1200, 860);
    window.show();
    ApplicationIcon::refresh();
    MainQueue::post([&services] { services.clearCache(); });
    const int status = QApplication::exec();
    services.settings().setOpenSettingsAction({});
    Activation::setHandler({});
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(u"VandorDMG"_s);
    QApplication::setApplicationDisplayName(u"Vandor DMG"_s);
    QApplication::setApplicationVersion(u"" VANDOR_VERSION ""_s);
    application.setProperty("buildNumber", VANDOR_BUILD_NUMBER);
    QApplication::setDesktopFileName(u"dev.vandor.VandorDMG"_s);
    Theme::apply(application);
    try {
        return runWindows();
    } catch (const PlatformError& error) {
        std::fprintf(stderr, "VandorDMG: %s\n", error.what());
        return 1;
    }
}
