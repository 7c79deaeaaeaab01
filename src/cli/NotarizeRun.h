#pragma once

#include "cli/CommandReport.h"
#include "cli/SessionFolder.h"
#include "cli/Subject.h"
#include "cli/ToolSession.h"
#include "notarization/NotaryService.h"
#include "platform/UserDefaults.h"

#include <QStringList>

#include <optional>

/// What is to be submitted, and by whom.
struct Submission {
    Subject subject;
    QString profile;
    std::optional<QString> identifier; // of one made before, to go on with
};

/// One notarization from the command line: submission, verdict, ticket and, for an image, what
/// Gatekeeper says of it.
class NotarizeRun {
public:
    /// Borrows `host` and `report`. Throws PlatformError when there is no place to work.
    NotarizeRun(Submission submission, const CommandHost& host, CommandReport& report);

    /// Runs the main loop; returns the exit status.
    int exec();

private:
    /// A part of the work: how the log announces it, and what to say when it fails.
    struct Stage;
    static const Stage stages[];

    QCoro::Task<int> run();
    QCoro::Task<int> notarize();
    QCoro::Task<bool> submit();
    QCoro::Task<bool> goOn();
    QCoro::Task<int> assess();
    int reportInterruption();
    QCoro::Task<int> reportFailure();
    void reportSuccess(QJsonObject findings);
    void follow(const QString& text);
    void readTranscript(const QString& piece);

    Submission m_submission;
    CommandReport& m_report;
    SessionFolder m_folder;
    ToolSession m_session;
    NotaryService m_service;
    UserDefaults m_defaults; // of this run alone, so that the user's choice of a profile stays
    QString m_temporaryFolder;
    const Stage* m_stage;
    QString m_transcript; // of the notary's tool, in the present attempt
    QStringList m_complaints; // of all tools, in the present stage
};
