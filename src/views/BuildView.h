#pragma once

#include <QWidget>

#include <functional>

class BuildManager;
class Clock;
class ConfigWrapper;
class ElidedLabel;
class ImageRow;
class LogView;
class QProgressBar;
class QPushButton;
class SettingsManager;
class TextBlock;

/// The step in which the image is built: asks where to, shows how it goes, and what came of it.
class BuildView : public QWidget {
    Q_OBJECT
public:
    /// What the user can do with a finished image, beside looking at it.
    struct Actions {
        std::function<void()> goOn; // to the next step
        std::function<void()> startAnew;
    };

    /// All outlive this widget.
    BuildView(ConfigWrapper& job, BuildManager& manager, const SettingsManager& settings,
        const Clock& clock, const Actions& actions, QWidget* parent = nullptr);

private:
    QWidget* makeJobCard();
    QWidget* makeErrorCard();
    QWidget* makeCompletionCard(const Actions& actions);
    void refresh();
    void swap(QPushButton* leaving, QPushButton* coming, QPushButton* heir);
    void followStep(const QString& message);
    void followShare(double share);
    void chooseOutput();
    void openFolder();

    ConfigWrapper& m_job;
    BuildManager& m_manager;
    const SettingsManager& m_settings;
    const Clock& m_clock;
    ElidedLabel* m_application = nullptr;
    QPushButton* m_build = nullptr;
    QPushButton* m_cancel = nullptr;
    QWidget* m_progress = nullptr;
    QProgressBar* m_bar = nullptr;
    ElidedLabel* m_step = nullptr;
    QWidget* m_error = nullptr;
    TextBlock* m_errorText = nullptr;
    QWidget* m_completion = nullptr;
    ImageRow* m_image = nullptr;
    QPushButton* m_goOn = nullptr;
    LogView* m_logs;
};
