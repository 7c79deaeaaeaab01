#include "signing/KeychainManager.h"

#include "platform/KeychainProbe.h"

#include <QPointer>

KeychainManager::KeychainManager(KeychainProbe& probe, QObject* parent)
    : QObject(parent)
    , m_probe(probe)
{ }

QCoro::Task<bool> KeychainManager::checkAccess()
{
    const QPointer<KeychainManager> self(this);
    const std::optional<QString> name = co_await m_probe.identityName();
    if (self)
        self->publish(name);
    co_return name.has_value();
}

void KeychainManager::publish(const std::optional<QString>& name)
{
    const bool isOtherName = m_signingIdentity != name;
    const bool isOtherAccess = m_hasKeychainAccess != name.has_value();
    m_signingIdentity = name;
    m_hasKeychainAccess = name.has_value();
    if (isOtherName)
        emit signingIdentityChanged();
    if (isOtherAccess)
        emit hasKeychainAccessChanged();
}

void KeychainManager::setLastError(const std::optional<QString>& text)
{
    if (m_lastError == text)
        return;
    m_lastError = text;
    emit lastErrorChanged();
}
