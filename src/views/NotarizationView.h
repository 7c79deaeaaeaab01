#pragma once

#include "platform/Cancellation.h"
#include "views/StepView.h"

class BusyButton;
class ConfigWrapper;
class ImageRow;
class LogView;
class NotarizationManager;
class QLineEdit;
class StatusBadge;

/// The step in which the finished image is notarized.
class NotarizationView : public StepView {
    Q_OBJECT
public:
    /// Both outlive this widget. `stop` cuts a run's pauses short once it is requested.
    NotarizationView(ConfigWrapper& job, NotarizationManager& manager, CancellationHandle stop,
        QWidget* parent = nullptr);

private:
    void refresh();
    void notarize();

    ConfigWrapper& m_job;
    NotarizationManager& m_manager;
    CancellationHandle m_stop;
    StatusBadge* m_status;
    QLineEdit* m_profile;
    ImageRow* m_image;
    LogView* m_logs;
    BusyButton* m_start;
};
