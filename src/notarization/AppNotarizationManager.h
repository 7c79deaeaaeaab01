#pragma once

#include "notarization/ArchivePlace.h"
#include "notarization/NotarizationHost.h"
#include "notarization/NotarizationState.h"
#include "platform/Cancellation.h"

#include <QCoro/QCoroTask>
#include <QUrl>

/// Notarizes an application and staples the ticket to it, and tells the user what it still lacks
/// for that. Main thread only. A run goes on to its end when the manager is gone; nobody hears of
/// it then.
class AppNotarizationManager : public NotarizationState {
    Q_OBJECT
public:
    explicit AppNotarizationManager(NotarizationHost host, QObject* parent = nullptr);

    /// Never throws: the outcome is published. Does nothing while a run is under way; without a
    /// profile it only says so. `cancellation` ends a wait between attempts early.
    QCoro::Task<> notarize(QUrl application, CancellationHandle cancellation = nullptr);
    /// Looks at signature, notarization and staple, logs what each tool says, and succeeds when a
    /// ticket is stapled. Never throws. Does nothing while a notarization is under way; isn't
    /// `isProcessing` itself.
    QCoro::Task<> preflight(QUrl application);

private:
    static QCoro::Task<> archiveAndSubmit(Run run, NotarizationHost host,
        ArchivePlace::Taken archives, QUrl application, QString profile,
        CancellationHandle cancellation);
    static QCoro::Task<bool> checkSignature(Run run, ShellRunner& shell, QString path);
    static QCoro::Task<> checkNotarization(Run run, ShellRunner& shell, QString path);
    static QCoro::Task<bool> checkStaple(Run run, ShellRunner& shell, QString path);

    NotarizationHost m_host;
    ArchivePlace::Taken m_archives = std::make_shared<QSet<QString>>();
};
