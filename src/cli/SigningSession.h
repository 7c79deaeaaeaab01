#pragma once

#include "cli/CommandHost.h"
#include "cli/Interruption.h"
#include "platform/HostToolRunner.h"
#include "process/ShellRunner.h"
#include "signing/SigningManager.h"

#include <functional>
#include <optional>

/// What the commands around signing share: a manager over the user's own keychain, and an end when
/// the user interrupts.
class SigningSession : public QObject {
    Q_OBJECT
public:
    explicit SigningSession(const CommandHost& host);

    SigningManager& manager() { return m_manager; }
    ToolRunner& tools() { return m_tools; }
    /// Whether the program that stands for the Mac's tool is there.
    bool hasTool(const QString& macPath) const;
    bool isInterrupted() const { return m_interruption.isRequested(); }

    /// Runs the main loop until `command` has ended; returns the exit status that it gives.
    int exec(std::function<QCoro::Task<int>()> command);
    /// Scans for identities to the end. Gives why the scan failed, nothing when it didn't.
    QCoro::Task<std::optional<QString>> scan();

signals:
    /// What the manager logged, without the line ends around it and the log's own words on a
    /// failure, for which a report has better ones.
    void progressed(const QString& message);

private:
    void follow(const QString& text);
    void interrupt();

    SystemRoot m_root;
    HostToolRunner m_tools;
    ShellRunner m_shell;
    SigningManager m_manager;
    Interruption m_interruption;
};
