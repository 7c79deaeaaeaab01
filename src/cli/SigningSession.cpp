#include "cli/SigningSession.h"

#include "platform/MainQueue.h"

#include <QCoreApplication>
#include <QCoro/QCoroSignal>
#include <QFileInfo>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

QCoro::Task<> exitWith(QCoro::Task<int> command)
{
    try {
        const int status = co_await command;
        QCoreApplication::exit(status);
    } catch (const std::exception& error) {
        qCritical("vandor: internal error: %s", error.what());
        QCoreApplication::exit(ExitStatus::failed);
    }
}

} // namespace

SigningSession::SigningSession(const CommandHost& host)
    : m_root(host.rootOfUser())
    , m_tools(m_root)
    , m_shell(m_tools)
    , m_manager(SigningHost{m_tools, m_shell, host.defaults})
{
    connect(&m_interruption, &Interruption::requested, this, &SigningSession::interrupt);
    connect(&m_manager, &SigningManager::messageLogged, this, &SigningSession::follow);
}

bool SigningSession::hasTool(const QString& macPath) const
{
    return QFileInfo(m_root.toolPath(macPath)).isExecutable();
}

int SigningSession::exec(std::function<QCoro::Task<int>()> command)
{
    // Within the loop: leaving one that doesn't run yet has no effect.
    MainQueue::post([start = std::move(command)] { exitWith(start()); });
    return QCoreApplication::exec();
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

void SigningSession::interrupt()
{
    m_tools.interrupt();
}
