#pragma once

#include "build/BuildManager.h"
#include "model/ConfigWrapper.h"
#include "notarization/AppNotarizationManager.h"
#include "notarization/NotarizationManager.h"
#include "notarization/VerificationManager.h"
#include "signing/SigningManager.h"
#include "wizard/NavigationManager.h"
#include "wizard/SmartSkip.h"
#include "wizard/WizardHost.h"

#include <QWidget>

#include <memory>

class ElidedLabel;
class QPushButton;
class QVBoxLayout;
class SideList;

/// The main window's content: owns the job and every manager, shows the steps beside the screen of
/// the current one, and leads on and back.
class WizardView : public QWidget {
    Q_OBJECT
public:
    explicit WizardView(WizardHost host, QWidget* parent = nullptr);

    /// "New Project": everything as at the start, but for the identity and the settings.
    void reset();
    /// Shows the column of the steps, which is there at first, or gives its room to the screen.
    void setSidebarVisible(bool visible);
    /// Some manager works at something that closing the window would leave alone.
    bool isBusy() const;
    /// Ends what is at work as an error would, so that nothing stays half done or mounted; takes a
    /// moment, and nothing can be started afterwards.
    void stopWork();

    ConfigWrapper& job() { return m_job; }
    NavigationManager& navigation() { return m_navigation; }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    /// From the screen on to Back and Next, then to the steps.
    bool focusNextPrevChild(bool next) override;

private:
    QWidget* makeSidebar();
    QWidget* makeDetail();
    QWidget* makeBottomBar();
    void connectManagers();

    void rebuildSteps();
    void refresh();
    void refreshSteps();
    /// A fresh screen for the current step in the place of the one before.
    void showCurrentScreen();
    QWidget* makeScreen(NavigationStep step);

    std::optional<NavigationStep> nextTarget() const;
    std::optional<NavigationStep> backTarget() const;
    void goNext();
    void goBack();
    void imageNotarized();
    void showDistribution();
    void followImage();

    WizardHost m_host;
    ConfigWrapper m_job;
    NavigationManager m_navigation;
    BuildManager m_build;
    SigningManager m_signing;
    NotarizationManager m_notarization;
    VerificationManager m_verification;
    AppNotarizationManager m_appNotarization;
    SmartSkip m_smartSkip;
    std::optional<QUrl> m_image; // that the job had last
    CancellationHandle m_stop = std::make_shared<Cancellation>(); // of what isn't to go on

    QWidget* m_sidebar = nullptr;
    SideList* m_steps = nullptr;
    QVBoxLayout* m_detail = nullptr;
    QWidget* m_screen = nullptr;
    QWidget* m_bottomBar = nullptr;
    QPushButton* m_back = nullptr;
    QPushButton* m_next = nullptr;
    ElidedLabel* m_inspection = nullptr;
};
