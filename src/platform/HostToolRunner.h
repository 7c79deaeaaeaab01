#pragma once

#include "platform/SystemRoot.h"
#include "platform/ToolRunner.h"

#include <QObject>
#include <QPointer>

#include <vector>

class ChildProcess;

/// Runs tools as child processes of this one. A child outlives its runner and runs to its end.
class HostToolRunner : public ToolRunner {
public:
    explicit HostToolRunner(SystemRoot root);

    QCoro::Task<ToolOutcome> run(ToolCall call) override;

    /// From now on the standard output of tools goes nowhere where a call doesn't capture it.
    void hideOutput() { m_hidesOutput = true; }
    /// Sends SIGINT to the children that run and to what they started. From now on a call ends with
    /// the launch error "Interrupted" and starts nothing. Both spare calls marked
    /// `evenWhenInterrupted`.
    void interrupt();

private:
    SystemRoot m_root;
    std::vector<QPointer<ChildProcess>> m_children;
    bool m_hidesOutput = false;
    bool m_interrupted = false;
};
