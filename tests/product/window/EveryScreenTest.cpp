#include "WindowFixture.h"

#include "views/Labels.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>

using namespace Qt::StringLiterals;

namespace {

/// All windows at the smallest size that they can have.
class EveryScreen : public WindowFixture {
public:
    EveryScreen()
    {
        window.wizard().job().edit([this](DMGConfig& edited) {
            edited.appURL = QUrl::fromLocalFile(app);
            edited.outputURL = QUrl::fromLocalFile(image);
        });
        window.resize(window.minimumSizeHint());
    }
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
    for (const NavigationStep step : allNavigationSteps) {
        SCOPED_TRACE(titleOf(step).toStdString());
        go(step);
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
