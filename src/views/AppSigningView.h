#pragma once

#include "views/KeychainGate.h"

#include <QWidget>

class BusyButton;
class ConfigWrapper;
class IdentityPicker;
class LogView;
class QPushButton;
class SigningManager;
class StatusBadge;

/// The step in which the chosen application is inspected and signed.
class AppSigningView : public QWidget {
    Q_OBJECT
public:
    /// All outlive this widget.
    AppSigningView(ConfigWrapper& job, SigningManager& signing, KeychainPrimerSheet::Host keychain,
        QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    QWidget* makeStatusCard();
    QWidget* makeSigningCard();
    static QWidget* makeEmptyCard();
    void refresh();
    void inspect();
    void sign();
    void signNow();

    ConfigWrapper& m_job;
    SigningManager& m_signing;
    KeychainGate* m_keychain;
    StatusBadge* m_badge = nullptr;
    QPushButton* m_rescan = nullptr;
    QWidget* m_controls = nullptr;
    QWidget* m_emptyCard = nullptr; // in their place without an application
    IdentityPicker* m_identities = nullptr;
    LogView* m_logs = nullptr;
    BusyButton* m_sign = nullptr;
};
