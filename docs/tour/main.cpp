// draw_tour FOLDER: takes a picture of every screen of the real windows, with real managers and
// the toolbox, and writes them into FOLDER.

#include "app/MainWindow.h"
#include "app/ProductServices.h"
#include "app/SettingsWindowController.h"
#include "model/SettingsManager.h"
#include "platform/Clock.h"
#include "platform/UserDefaults.h"
#include "signing/SigningManager.h"
#include "views/Theme.h"
#include "wizard/WizardView.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

/// Turns the main loop until `done` or, at the latest, for a minute.
template <typename Done>
void turnUntil(Done done)
{
    QElapsedTimer time;
    time.start();
    while (!done() && time.elapsed() < 60'000)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 50);
}

void turnFor(int milliseconds)
{
    QElapsedTimer time;
    time.start();
    turnUntil([&] { return time.elapsed() >= milliseconds; });
}

class Tour {
public:
    explicit Tour(QString folder)
        : m_folder(std::move(folder))
    {
        QDir().mkpath(m_folder);
    }

    void take(QWidget& window, const QString& name) const
    {
        turnFor(400);
        const QString path = m_folder + u'/' + name + u".png"_s;
        if (!window.grab().save(path))
            std::fprintf(stderr, "draw_tour: can't write %s\n", qPrintable(path));
    }

private:
    QString m_folder;
};

void showSteps(MainWindow& window, const Tour& tour, const QString& state)
{
    WizardView& wizard = window.wizard();
    for (const NavigationStep step : allNavigationSteps) {
        wizard.navigation().raiseMaxStepReached(rawValue(step));
        wizard.navigation().setCurrentStep(rawValue(step));
        turnFor(600);
        tour.take(window,
            u"%1-%2-%3"_s.arg(rawValue(step) + 1)
                .arg(titleOf(step).toLower().replace(u' ', u'-'), state));
    }
}

int drawTour(const QString& folder)
{
    const QTemporaryDir scratch;
    UserDefaults defaults(scratch.filePath(u"defaults.plist"_s));
    SettingsManager settings(defaults);
    ProductServices services({SystemRoot::session(scratch.filePath(u"state"_s)), defaults, settings,
        Clock::system(), scratch.path()});
    SigningManager settingsSigning(services.signingHost());
    SettingsWindowController settingsWindow({settings, settingsSigning, services.tools(),
                                                [&services] { return services.clearCache(); }},
        scratch.filePath(u"windows.ini"_s));
    MainWindow window(
        services.wizardHost([&settingsWindow] { settingsWindow.openSettingsWindow(); }), settings);
    window.resize(1200, 860);
    window.show();

    const Tour tour(folder);
    tour.take(window, u"0-start"_s);
    showSteps(window, tour, u"empty"_s);
    window.wizard().reset();
    window.wizard().job().edit([](DMGConfig& job) {
        job.appURL = QUrl::fromLocalFile(QStringLiteral(SAMPLES_DIR "/Hello Vandor.app"));
        job.backgroundURL = QUrl::fromLocalFile(QStringLiteral(SAMPLES_DIR "/background.png"));
        job.outputURL = QUrl::fromLocalFile(u"/tmp/Hello Vandor_1.0.dmg"_s);
        job.volumeName = u"Hello Vandor"_s;
    });
    turnFor(2000);
    showSteps(window, tour, u"filled"_s);

    settingsWindow.openSettingsWindow();
    turnUntil([&] { return settingsWindow.window() != nullptr; });
    for (const SettingsSection section : allSettingsSections) {
        settings.setActiveSection(section);
        tour.take(*settingsWindow.window(), u"settings-"_s + rawValue(section).toLower());
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: draw_tour FOLDER\n");
        return 2;
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    Theme::apply(application);
    return drawTour(QString::fromLocal8Bit(argv[1]));
}
