#pragma once

#include "signing/KeychainManager.h"
#include "views/KeychainPrimerSheet.h"
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
    static QCoro::Task<> probeAndSign(QPointer<AppSigningView> self);
    void signNow();

    ConfigWrapper& m_job;
    SigningManager& m_signing;
    KeychainPrimerSheet::Host m_keychain;
    KeychainManager m_keychainManager;
    bool m_isAsking = false; // for access, the keychain or the user
    StatusBadge* m_badge = nullptr;
    IdentityPicker* m_identities = nullptr;
    LogView* m_logs = nullptr;
    BusyButton* m_sign = nullptr;
};
