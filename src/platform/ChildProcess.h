#pragma once

#include "platform/SystemRoot.h"
#include "platform/ToolRunner.h"

#include <QFuture>
#include <QProcess>
#include <QPromise>

class ProgressPipe;

/// One child process from its start to its end. It owns itself: made with `new`, it goes once it
/// has reported, whoever still waits.
class ChildProcess : public QObject {
    Q_OBJECT
public:
    ChildProcess(const ToolCall& call, const SystemRoot& root);

    /// The outcome arrives exactly once, for a failure to start as for an end.
    QFuture<ToolOutcome> start();
    /// Sends SIGINT to the child and its descendants unless the call is to run even so.
    void interrupt();

private:
    void connectReceiver();
    void passOn(ToolStream stream, const QByteArray& piece);
    void reportFailedStart(QProcess::ProcessError error);
    void reportEnd();
    void report(ToolOutcome outcome);
    QString launchError() const;

    ToolCall m_call;
    QProcess m_process;
    QPromise<ToolOutcome> m_promise;
    ProgressPipe* m_progress = nullptr; // a child of this object; none unless the call asks
    bool m_reported = false;
};
