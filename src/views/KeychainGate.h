#pragma once

#include "signing/KeychainManager.h"
#include "views/KeychainPrimerSheet.h"

#include <QObject>
#include <QPointer>

#include <functional>

/// What a screen passes before it signs: asks the keychain for access and, where it gives none,
/// explains first why it will be asked for. A child of that screen.
class KeychainGate : public QObject {
    Q_OBJECT
public:
    KeychainGate(KeychainPrimerSheet::Host host, QWidget* screen);

    /// The keychain is being asked, which may take as long as its own question to the user.
    bool isProbing() const { return m_isProbing; }

    /// Runs `sign` once there is access or the user wants to go on without; never when the user
    /// cancels or the screen goes. Does nothing while it asks already.
    void pass(std::function<void()> sign);

signals:
    void isProbingChanged();

private:
    void setProbing(bool probing);
    static QCoro::Task<> ask(QPointer<KeychainGate> self, std::function<void()> sign);

    KeychainPrimerSheet::Host m_host;
    QWidget* m_screen;
    KeychainManager m_keychainManager;
    bool m_isProbing = false;
    bool m_isAsking = false; // the keychain or the user
};
