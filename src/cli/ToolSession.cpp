#include "cli/ToolSession.h"

#include "platform/MainQueue.h"

#include <QCoreApplication>
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

ToolSession::ToolSession(const CommandHost& host)
    : m_root(host.rootOfUser())
    , m_tools(m_root)
    , m_shell(m_tools)
{
    connect(&m_interruption, &Interruption::requested, this, &ToolSession::interrupt);
}

bool ToolSession::hasTool(const QString& macPath) const
{
    return QFileInfo(m_root.toolPath(macPath)).isExecutable();
}

QString ToolSession::remedy(const QString& tool, const QString& otherwise) const
{
    if (hasTool(tool) && hasTool(u"/bin/zsh"_s))
        return otherwise;
    return u"Install this program again: the tool that came with it is missing."_s;
}

int ToolSession::exec(std::function<QCoro::Task<int>()> command)
{
    // Within the loop: leaving one that doesn't run yet has no effect.
    MainQueue::post([start = std::move(command)] { exitWith(start()); });
    return QCoreApplication::exec();
}

void ToolSession::interrupt()
{
    m_cancellation->request();
    m_tools.interrupt();
}
