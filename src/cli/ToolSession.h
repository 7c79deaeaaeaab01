#pragma once

#include "cli/CommandHost.h"
#include "cli/Interruption.h"
#include "platform/Cancellation.h"
#include "platform/HostToolRunner.h"
#include "process/ShellRunner.h"

#include <QCoro/QCoroTask>

#include <functional>

/// What the commands share that work with the user's own tools and state: a shell, the main loop,
/// and an end when the user interrupts.
class ToolSession : public QObject {
    Q_OBJECT
public:
    explicit ToolSession(const CommandHost& host);

    ToolRunner& tools() { return m_tools; }
    ShellRunner& shell() { return m_shell; }
    /// Whether the program that stands for the Mac's tool is there.
    bool hasTool(const QString& macPath) const;
    /// What to do about a failure at `tool`: `otherwise`, unless the tool or the shell is missing.
    QString remedy(const QString& tool, const QString& otherwise) const;
    bool isInterrupted() const { return m_interruption.isRequested(); }
    /// Requested when the user interrupts.
    const CancellationHandle& cancellation() const { return m_cancellation; }

    /// Runs the main loop until `command` has ended; returns the exit status that it gives.
    int exec(std::function<QCoro::Task<int>()> command);

private:
    void interrupt();

    SystemRoot m_root;
    HostToolRunner m_tools;
    ShellRunner m_shell;
    Interruption m_interruption;
    CancellationHandle m_cancellation = std::make_shared<Cancellation>();
};
