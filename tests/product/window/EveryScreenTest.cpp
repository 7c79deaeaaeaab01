#include "app/MainWindow.h"
#include "app/ProductServices.h"
#include "app/SettingsWindowController.h"
#include "model/SettingsManager.h"
#include "platform/Clock.h"
#include "platform/UserDefaults.h"
#include "signing/SigningManager.h"
#include "views/Labels.h"
#include "wizard/WizardView.h"

#include "WindowUser.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QLabel>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// All windows at the smallest size that they can have.
class EveryScreen : public testing::Test {
public:
    EveryScreen()
    {
        window.wizard().job().edit([](DMGConfig& job) {
            job.appURL = QUrl::fromLocalFile(QStringLiteral(SAMPLES_DIR "/Hello Vandor.app"));
            job.outputURL = QUrl::fromLocalFile(u"/tmp/Hello Vandor.dmg"_s);
        });
        window.resize(window.minimumSizeHint());
        window.show();
    }

    static QString home() { return QDir::homePath(); }

    UserDefaults defaults{home() + u"/screens.plist"_s};
    SettingsManager settings{defaults};
    ProductServices services{
        {SystemRoot(QStringLiteral(TOOLBOX_DIR), home() + u"/.local/share/vandor-dmg"_s), defaults,
            settings, Clock::system(), home()}};
    SigningManager signing{services.signingHost()};
    SettingsWindowController settingsWindow{
        {settings, signing, services.tools(), [this] { return services.clearCache(); }},
        home() + u"/windows.ini"_s};
    MainWindow window{services.wizardHost([] {}), settings};
};

std::string nameOf(const QWidget& widget)
{
    return widget.metaObject()->className() + (" '" + widget.accessibleName().toStdString()) + "'";
}

/// What somebody with a screen reader or a small screen would miss.
void expectUsable(QWidget& screen)
{
    for (QWidget* each : screen.findChildren<QWidget*>()) {
        if (!each->isVisible())
            continue;
        const auto* button = qobject_cast<QAbstractButton*>(each);
        const bool takesKeys = (each->focusPolicy() & Qt::TabFocus) != 0 && each->isEnabled();
        if (takesKeys && each->parentWidget() != nullptr
            && !each->objectName().startsWith("qt_"_L1)) {
            EXPECT_FALSE(
                each->accessibleName().isEmpty() && (button == nullptr || button->text().isEmpty()))
                << "without a name: " << nameOf(*each);
        }
        const auto* label = qobject_cast<QLabel*>(each);
        const bool showsText = label != nullptr && !label->text().isEmpty()
            && qobject_cast<ElidedLabel*>(each) == nullptr;
        if (showsText || (button != nullptr && !button->text().isEmpty())) {
            EXPECT_GE(each->width(), each->minimumSizeHint().width()) << nameOf(*each);
            const int wanted = label != nullptr && label->wordWrap()
                ? label->heightForWidth(label->width())
                : each->minimumSizeHint().height();
            EXPECT_GE(each->height(), wanted) << nameOf(*each);
        }
    }
}

} // namespace

TEST_F(EveryScreen, HasNamesForItsControlsAndRoomForItsTexts)
{
    NavigationManager& navigation = window.wizard().navigation();
    for (const NavigationStep step : allNavigationSteps) {
        SCOPED_TRACE(titleOf(step).toStdString());
        navigation.raiseMaxStepReached(rawValue(step));
        navigation.setCurrentStep(rawValue(step));
        ASSERT_TRUE(
            WindowUser::waitUntil([&] { return navigation.currentStep() == rawValue(step); }));
        QApplication::processEvents();
        expectUsable(window);
    }
    settingsWindow.openSettingsWindow();
    ASSERT_TRUE(WindowUser::waitUntil([&] { return settingsWindow.window() != nullptr; }));
    settingsWindow.window()->resize(settingsWindow.window()->minimumSize());
    for (const SettingsSection section : allSettingsSections) {
        SCOPED_TRACE(rawValue(section).toStdString());
        settings.setActiveSection(section);
        QApplication::processEvents();
        expectUsable(*settingsWindow.window());
    }
    EXPECT_TRUE(WindowUser::waitUntil([&] { return !window.wizard().isBusy(); }));
}
