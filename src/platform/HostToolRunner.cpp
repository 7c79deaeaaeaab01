#include "platform/HostToolRunner.h"

#include "platform/ChildProcess.h"

#include <QCoreApplication>
#include <QCoro/QCoroFuture>

#include <utility>

HostToolRunner::HostToolRunner(SystemRoot root)
    : m_root(std::move(root))
{ }

QCoro::Task<ToolOutcome> HostToolRunner::run(ToolCall call)
{
    if (m_interrupted && !call.evenWhenInterrupted) {
        ToolOutcome outcome;
        outcome.launchError = QCoreApplication::translate("HostToolRunner", "Interrupted");
        co_return outcome;
    }
    call.hideOutput = call.hideOutput || m_hidesOutput;
    auto* const child = new ChildProcess(call, m_root); // owns itself
    std::erase_if(m_children, [](const auto& other) { return other.isNull(); });
    m_children.emplace_back(child);
    const QFuture<ToolOutcome> outcome = child->start();
    co_return co_await outcome;
}

void HostToolRunner::interrupt()
{
    m_interrupted = true;
    for (const QPointer<ChildProcess>& child : m_children) {
        if (child)
            child->interrupt();
    }
}
