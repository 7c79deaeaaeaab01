#pragma once

#include <QCoro/QCoroTask>
#include <QObject>
#include <QString>

#include <optional>

class KeychainProbe;

/// Whether the keychain lets this program use a signing identity, as the last probe found. Main
/// thread only.
class KeychainManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool hasKeychainAccess READ hasKeychainAccess NOTIFY hasKeychainAccessChanged)
    Q_PROPERTY(
        std::optional<QString> signingIdentity READ signingIdentity NOTIFY signingIdentityChanged)
    Q_PROPERTY(std::optional<QString> lastError READ lastError NOTIFY lastErrorChanged)

public:
    /// `probe` outlives this object and every check.
    explicit KeychainManager(KeychainProbe& probe, QObject* parent = nullptr);

    bool hasKeychainAccess() const { return m_hasKeychainAccess; }
    /// The common name of the identity that the last probe found.
    const std::optional<QString>& signingIdentity() const { return m_signingIdentity; }
    /// Why access is still missing, as the one who asked for it put it.
    const std::optional<QString>& lastError() const { return m_lastError; }
    void setLastError(const std::optional<QString>& text);

    /// Probes the keychain; true when it gives access. Never throws.
    QCoro::Task<bool> checkAccess();

signals:
    void hasKeychainAccessChanged();
    void signingIdentityChanged();
    void lastErrorChanged();

private:
    void publish(const std::optional<QString>& name);

    KeychainProbe& m_probe;
    bool m_hasKeychainAccess = false;
    std::optional<QString> m_signingIdentity;
    std::optional<QString> m_lastError;
};
