#pragma once

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
    /// Both outlive this widget.
    AppNotarizationView(
        ConfigWrapper& job, AppNotarizationManager& manager, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void refresh();
    void preflight();
    void preflightLater();
    void notarize();

    ConfigWrapper& m_job;
    AppNotarizationManager& m_manager;
    StatusBadge* m_status;
    QLineEdit* m_profile;
    LogView* m_logs;
    BusyButton* m_start;
};
