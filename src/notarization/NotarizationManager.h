#pragma once

#include "notarization/NotarizationHost.h"
#include "notarization/NotarizationState.h"
#include "platform/Cancellation.h"

#include <QCoro/QCoroTask>
#include <QUrl>

/// Notarizes a signed disk image, staples the ticket to it and shows what Gatekeeper says of it.
/// Main thread only. A run goes on to its end when the manager is gone; nobody hears of it then.
class NotarizationManager : public NotarizationState {
    Q_OBJECT
public:
    explicit NotarizationManager(NotarizationHost host, QObject* parent = nullptr);

    /// Never throws: the outcome is published. Does nothing while a run is under way; without a
    /// profile it only says so. What Gatekeeper says decides nothing. `cancellation` ends a wait
    /// between attempts early.
    QCoro::Task<> notarize(QUrl image, CancellationHandle cancellation = nullptr);

private:
    static QCoro::Task<> submitAndStaple(Run run, NotarizationHost host, QUrl image,
        QString profile, CancellationHandle cancellation);
    static QCoro::Task<> follow(Run run, ShellRunner& shell, QString command);

    NotarizationHost m_host;
};
