#pragma once

#include "platform/Cancellation.h"
#include "views/StepView.h"

class AppNotarizationManager;
class BusyButton;
class ConfigWrapper;
class LogView;
class QLineEdit;
class StatusBadge;

/// The step in which the chosen application is notarized. Looks at it by itself when it is shown
/// and when another is chosen.
class AppNotarizationView : public StepView {
    Q_OBJECT
public:
    /// Both outlive this widget. `stop` cuts a run's pauses short once it is requested.
    AppNotarizationView(ConfigWrapper& job, AppNotarizationManager& manager,
        CancellationHandle stop, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void refresh();
    void preflight();
    void preflightLater();
    void notarize();

    ConfigWrapper& m_job;
    AppNotarizationManager& m_manager;
    CancellationHandle m_stop;
    StatusBadge* m_status;
    QLineEdit* m_profile;
    LogView* m_logs;
    BusyButton* m_start;
};
