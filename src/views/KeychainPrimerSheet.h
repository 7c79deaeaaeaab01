#pragma once

#include "signing/KeychainManager.h"
#include "views/Sheet.h"

#include <functional>

class BusyButton;
class Clock;
class KeychainProbe;

/// Explains why the keychain will ask the user before the first signing. Continue probes the
/// keychain once more and then goes on, whatever the probe says.
class KeychainPrimerSheet : public Sheet {
    Q_OBJECT
public:
    /// What the sheet works with; outlives it.
    struct Host {
        KeychainProbe& probe;
        Clock& clock;
    };
    KeychainPrimerSheet(Host host, QWidget* over, std::function<void()> onContinue,
        std::function<void()> onCancel = {});

    const KeychainManager& keychainManager() const { return m_keychainManager; }

private:
    QLayout* featureRow(const QString& symbol, const QString& text);
    QWidget* nextStepBox();
    static QCoro::Task<> goOn(QPointer<KeychainPrimerSheet> self, Clock& clock);
    void cancel();

    Host m_host;
    KeychainManager m_keychainManager;
    std::function<void()> m_onContinue;
    std::function<void()> m_onCancel;
    bool m_isProcessing = false;
    BusyButton* m_continue;
};
