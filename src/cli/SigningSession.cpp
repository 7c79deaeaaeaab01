#include "cli/SigningSession.h"

#include <QCoro/QCoroSignal>

using namespace Qt::StringLiterals;

SigningSession::SigningSession(const CommandHost& host)
    : ToolSession(host)
    , m_manager(SigningHost{tools(), shell(), host.defaults})
{
    connect(&m_manager, &SigningManager::messageLogged, this, &SigningSession::follow);
}

QCoro::Task<std::optional<QString>> SigningSession::scan()
{
    std::optional<QString> failure;
    const QMetaObject::Connection failing = connect(&m_manager, &SigningManager::scanFailed, this,
        [&failure](const QString& reason) { failure = reason; });
    m_manager.fetchIdentities();
    while (m_manager.isScanning())
        co_await qCoro(&m_manager, &SigningManager::isScanningChanged);
    disconnect(failing);
    co_return failure;
}

void SigningSession::follow(const QString& text)
{
    const QString message = text.trimmed();
    if (!message.isEmpty() && !message.startsWith(u'❌')
        && !message.startsWith("Error fetching identities: "_L1))
        emit progressed(message);
}
