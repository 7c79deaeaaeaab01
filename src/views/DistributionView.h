#pragma once

#include "views/StepView.h"

#include <functional>

class ConfigWrapper;
class ImageRow;
class LogView;
class QLabel;
class SymbolLabel;
class VerificationManager;

/// The last step: what a user's Mac will say of the finished image. Starts the verification by
/// itself, once.
class DistributionView : public StepView {
    Q_OBJECT
public:
    /// `job` and `manager` outlive this widget; `resetAction` starts a new project.
    DistributionView(ConfigWrapper& job, VerificationManager& manager,
        std::function<void()> resetAction, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    /// A question of the verifier, with its answer.
    struct Row {
        QWidget* whole = nullptr;
        SymbolLabel* symbol = nullptr;
        QLabel* text = nullptr;
    };

    QWidget* makeStatusCard(std::function<void()> resetAction);
    QWidget* makeVerifierCard();
    static Row makeRow(const QString& title);
    void refresh();

    ConfigWrapper& m_job;
    VerificationManager& m_manager;
    bool m_hasAutoVerified = false;
    SymbolLabel* m_statusSymbol = nullptr;
    QLabel* m_statusTitle = nullptr;
    QLabel* m_statusCaption = nullptr;
    Row m_gatekeeper;
    Row m_authority;
    ImageRow* m_image;
    LogView* m_logs;
};
