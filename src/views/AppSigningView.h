#pragma once

#include "views/KeychainGate.h"
#include "views/StepView.h"

class BusyButton;
class ConfigWrapper;
class IdentityPicker;
class LogView;
class SigningManager;
class StatusBadge;

/// The step in which the chosen application is inspected and signed.
class AppSigningView : public StepView {
    Q_OBJECT
public:
    /// All outlive this widget.
    AppSigningView(ConfigWrapper& job, SigningManager& signing, KeychainPrimerSheet::Host keychain,
        QWidget* parent = nullptr);

private:
    QWidget* makeStatusCard();
    QWidget* makeSigningCard();
    void refresh();
    void inspect();
    void sign();
    void signNow();

    ConfigWrapper& m_job;
    SigningManager& m_signing;
    KeychainGate* m_keychain;
    StatusBadge* m_badge = nullptr;
    IdentityPicker* m_identities = nullptr;
    LogView* m_logs = nullptr;
    BusyButton* m_sign = nullptr;
};
