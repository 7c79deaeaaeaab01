#pragma once

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QMap>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

enum class ToolStream { output, error };

/// One run of a command-line tool, in the Mac's terms.
struct ToolCall {
    QString program; // the Mac's absolute path
    QStringList arguments;
    QByteArray input; // for its standard input; empty: /dev/null
    bool inheritInput = false; // standard input is this process's own instead
    bool captureOutput = false; // what isn't captured goes to this process's own streams
    bool captureError = false;
    bool mergeError = false; // standard error arrives within the captured output, as written
    bool hideOutput = false; // standard output that isn't captured goes nowhere
    /// Takes what is captured as it comes, on the main thread and before the outcome, whose own
    /// output and error stay empty then. A piece is never empty and ends anywhere.
    std::function<void(ToolStream stream, const QByteArray& piece)> receive;
    /// Takes how much of its work, from 0 to 1, the tool has done: on the main thread and before
    /// the outcome. Only tools of ours tell.
    std::function<void(double share)> progress;
    QMap<QString, QString> environment; // in place of the inherited values of these names
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
