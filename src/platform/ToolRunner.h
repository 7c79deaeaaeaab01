#pragma once

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QString>
#include <QStringList>

#include <optional>

/// One run of a command-line tool, in the Mac's terms.
struct ToolCall {
    QString program; // the Mac's absolute path
    QStringList arguments;
    QByteArray input; // for its standard input; empty: /dev/null
    bool captureOutput = false; // what isn't captured goes to this process's own streams
    bool captureError = false;
    QString workingDirectory; // empty: this process's own
    bool evenWhenInterrupted = false; // an interrupted program still cleans up with such calls
};

/// How a run ended. Without a launch error the tool did run.
struct ToolOutcome {
    std::optional<QString> launchError; // a sentence for the user
    int exitStatus = 0; // the number of the signal for a tool that one killed
    QByteArray output;
    QByteArray error;

    bool succeeded() const { return !launchError && exitStatus == 0; }
};

/// Runs tools without blocking. An outcome arrives exactly once for a call, and never as an
/// exception.
class ToolRunner {
public:
    virtual ~ToolRunner() = default;
    virtual QCoro::Task<ToolOutcome> run(ToolCall call) = 0;
};
