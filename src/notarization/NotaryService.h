#pragma once

#include "platform/Cancellation.h"

#include <QCoro/QCoroTask>
#include <QString>
#include <QUrl>

#include <functional>

class Clock;
class OutputSequence;
class ShellRunner;

/// Submits files to the notary service and staples the tickets that it issues, through the Mac's
/// own tools. Keeps nothing between operations, which overlap freely.
///
/// A submission is judged by its tool's text alone. One that failed with a sign of a network at
/// fault is tried again, three times in all, after 4 and after 8 seconds.
class NotaryService {
public:
    /// Takes one message at a time, without a line end of its own, on the main thread.
    using Log = std::function<void(const QString& message)>;

    /// Both outlive this object and every operation.
    NotaryService(ShellRunner& shell, Clock& clock);
    /// The one over the host's own shell and clock, made on first use, never destroyed.
    static NotaryService& shared();

    /// Submits a zip archive or a disk image in the name of a stored profile and waits for the
    /// verdict. Throws NotarizationError. `cancellation` ends a wait between attempts early.
    QCoro::Task<> submit(
        QUrl file, QString profile, Log log, CancellationHandle cancellation = nullptr);
    /// Waits for the verdict on what was submitted before, as `submit` does after the upload.
    QCoro::Task<> await(
        QString submission, QString profile, Log log, CancellationHandle cancellation = nullptr);

    /// Staples its ticket to an image or an application. Only the validation that follows decides:
    /// throws its ShellError.
    QCoro::Task<> staple(QUrl item, Log log);

private:
    QCoro::Task<> attempt(QString command, Log log, CancellationHandle cancellation);

    ShellRunner& m_shell;
    Clock& m_clock;
};
