#pragma once

#include <QDeadlineTimer>
#include <QMainWindow>
#include <QPointer>

#include <functional>

class SettingsManager;
class Sheet;
class WizardView;
struct WizardHost;

/// The main window: the wizard, and the menu's commands.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    /// `settings` outlives this window.
    MainWindow(WizardHost host, SettingsManager& settings, QWidget* parent = nullptr);

    WizardView& wizard() { return *m_wizard; }
    /// Without a question: stops what is at work, then closes. Not later than after some seconds.
    void stopAndClose();

protected:
    /// Asks first while work runs.
    void closeEvent(QCloseEvent* event) override;

private:
    void makeMenus(SettingsManager& settings, std::function<void()> openSettings);
    void askToClose();
    void closeOnceIdle(QDeadlineTimer limit);

    WizardView* m_wizard;
    QPointer<Sheet> m_closeQuestion;
    bool m_mayClose = false;
};
