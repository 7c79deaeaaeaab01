#include "cli/NotarizeRun.h"

#include "notarization/AppNotarizationManager.h"
#include "notarization/NotarizationManager.h"
#include "notarization/NotaryCommands.h"
#include "notarization/RunFailure.h"
#include "notarization/SubmissionText.h"
#include "notarization/VerificationManager.h"
#include "platform/PlatformError.h"

#include <QJsonObject>

#include <algorithm>
#include <iterator>
#include <utility>

using namespace Qt::StringLiterals;

struct NotarizeRun::Stage {
    QStringView announcement; // how a message of the log begins
    QStringView name; // completes "...: ... failed."
    QStringView tool;
    QStringView remedy;
};

const NotarizeRun::Stage NotarizeRun::stages[] = {
    {u"Creating temporary Zip", u"archiving the application", u"/usr/bin/ditto",
        u"See that every file of the application can be read, and that TMPDIR has room for an "
        u"archive of it."},
    {u"Submitting", u"the submission", u"/usr/bin/xcrun",
        u"Mend what is named above, sign again, then submit again."},
    {u"Stapling ticket", u"stapling the ticket", u"/usr/bin/xcrun",
        u"A ticket can be published late: run “vandor staple” in a few minutes."},
    {u"Assessing", u"the assessment", u"/usr/sbin/spctl",
        u"Run “vandor verify” for what the image lacks. An image must be signed before it is "
        u"submitted."},
};

namespace {

constexpr int submissionStage = 1;
constexpr int assessmentStage = 3;

/// The lines of what a tool wrote, progress that overwrites itself included.
QStringList linesOf(QString text)
{
    QStringList lines;
    for (const QString& line : text.replace(u'\r', u'\n').split(u'\n', Qt::SkipEmptyParts)) {
        if (const QString bare = line.trimmed(); !bare.isEmpty())
            lines += bare;
    }
    return lines;
}

/// A tool's own words: without those that tell where they are from.
QString withoutMarks(QString message)
{
    for (const QStringView mark : {u"[notarytool]", u"[stapler]", u"[ERR]"}) {
        if (message.startsWith(mark))
            message = message.sliced(mark.size()).trimmed();
    }
    return message;
}

bool isComplaint(const QString& line)
{
    return line.contains("Error"_L1) || line.contains("failed"_L1)
        || line.contains("status: Invalid"_L1);
}

/// Failures that the file isn't to blame for, by the words that tell them.
struct Excuse {
    QStringView sign;
    QStringView remedy;
};
constexpr QStringView unreachable =
    u"See that this machine reaches the notary service, then run the same command again. A "
    u"submission that the service has already is found again.";
constexpr QStringView refusedCredentials =
    u"Try the profile with “vandor credentials verify”; “vandor credentials store” replaces it. A "
    u"clock that is minutes off is refused, too.";
constexpr Excuse excuses[] = {
    {u"No Keychain password item found",
        u"Store credentials under this name with “vandor credentials store”, or name another "
        u"profile; “local” is this machine's own authority, for rehearsals."},
    {u"HTTP status code: 401", refusedCredentials},
    {u"HTTP status code: 403",
        u"Sign in to the developer account: an agreement may wait to be accepted, or the key may "
        u"not be allowed to notarize."},
    {u"NSURLErrorDomain", unreachable},
    {u"HTTP status code: 429", unreachable},
    {u"HTTP status code: 5", unreachable},
};

QString remedyFor(const QString& said, QStringView otherwise)
{
    const auto excuse = std::ranges::find_if(
        excuses, [&said](const Excuse& one) { return said.contains(one.sign); });
    return (excuse == std::end(excuses) ? otherwise : excuse->remedy).toString();
}

QCoro::Task<> awaitAndStaple(NotaryService& service, Submission submission, NotaryService::Log say,
    CancellationHandle cancellation)
{
    say(u"Submitting nothing new: waiting for submission %1..."_s.arg(*submission.identifier));
    co_await service.await(*submission.identifier, submission.profile, say, cancellation);
    say(u"✅ Notarization Accepted!"_s);
    say(u"Stapling ticket..."_s);
    co_await service.staple(submission.subject.location, say);
    say(u"✅ Stapling Successful!"_s);
}

} // namespace

NotarizeRun::NotarizeRun(Submission submission, const CommandHost& host, CommandReport& report)
    : m_submission(std::move(submission))
    , m_report(report)
    , m_folder(host.temporaryFolder)
    , m_session(host)
    , m_service(m_session.shell(), host.clock)
    , m_defaults(m_folder.workFolder() + u"/defaults.plist"_s)
    , m_temporaryFolder(host.temporaryFolder)
    , m_stage(&stages[m_submission.subject.isImage() ? submissionStage : 0])
{ }

int NotarizeRun::exec()
{
    return m_session.exec([this] { return run(); });
}

QCoro::Task<int> NotarizeRun::run()
{
    const int status = co_await notarize();
    try {
        co_await m_folder.remove();
    } catch (const PlatformError&) {
        // The next run sweeps it away.
    }
    co_await SessionFolder::sweepLeftovers(m_temporaryFolder);
    co_return status;
}

QCoro::Task<int> NotarizeRun::notarize()
{
    bool isStapled = false;
    if (m_submission.identifier)
        isStapled = co_await goOn();
    else
        isStapled = co_await submit();
    if (m_session.isInterrupted())
        co_return reportInterruption();
    if (!isStapled)
        co_return co_await reportFailure();
    if (m_submission.subject.isImage())
        co_return co_await assess();
    reportSuccess({});
    co_return ExitStatus::done;
}

/// The whole way. True when the ticket is stapled.
QCoro::Task<bool> NotarizeRun::submit()
{
    const NotarizationHost host{m_service, m_session.shell(), m_defaults, m_folder.workFolder()};
    m_defaults.set(NotarizationState::kSavedProfileName, m_submission.profile);
    NotarizationManager ofImages(host);
    AppNotarizationManager ofApplications(host);
    NotarizationState* const manager = m_submission.subject.isImage()
        ? static_cast<NotarizationState*>(&ofImages)
        : &ofApplications;
    QObject::connect(manager, &NotarizationState::messageLogged, manager,
        [this](const QString& text) { follow(text); });
    if (m_submission.subject.isImage())
        co_await ofImages.notarize(m_submission.subject.location, m_session.cancellation());
    else
        co_await ofApplications.notarize(m_submission.subject.location, m_session.cancellation());
    co_return manager->notarizationSuccess();
}

/// The way that is left after a submission. True when the ticket is stapled.
QCoro::Task<bool> NotarizeRun::goOn()
{
    const NotaryService::Log log = [this](const QString& message) { follow(message); };
    const std::optional<QString> failure =
        co_await failureOf(awaitAndStaple(m_service, m_submission, log, m_session.cancellation()));
    if (failure)
        m_complaints += *failure;
    co_return !failure;
}

QCoro::Task<int> NotarizeRun::assess()
{
    follow(u"Assessing the stapled image..."_s);
    VerificationManager manager(m_session.shell());
    co_await manager.verify(m_submission.subject.location);
    if (m_session.isInterrupted())
        co_return reportInterruption();
    if (!manager.isReadyForDistribution()) {
        m_complaints = linesOf(manager.logs());
        co_return co_await reportFailure();
    }
    reportSuccess({{u"ready"_s, true}});
    co_return ExitStatus::done;
}

void NotarizeRun::reportSuccess(QJsonObject findings)
{
    findings[u"path"_s] = m_submission.subject.path();
    findings[u"kind"_s] = m_submission.subject.kindName();
    findings[u"profile"_s] = m_submission.profile;
    if (m_submission.identifier)
        findings[u"submission"_s] = *m_submission.identifier;
    m_report.finished(m_submission.subject.path(), findings);
}

int NotarizeRun::reportInterruption()
{
    const std::optional<QString>& identifier = m_submission.identifier;
    if (m_stage == &stages[assessmentStage])
        m_report.interrupted(u"the ticket is stapled."_s);
    else if (identifier)
        m_report.interrupted(
            u"the service goes on with submission %1; take it up again with --submission."_s.arg(
                *identifier));
    else
        m_report.interrupted(u"nothing was submitted."_s);
    return ExitStatus::interrupted;
}

QCoro::Task<int> NotarizeRun::reportFailure()
{
    if (m_stage == &stages[submissionStage] && m_submission.identifier) {
        try {
            const QString command =
                NotaryCommands::submissionLog(*m_submission.identifier, m_submission.profile);
            m_complaints += issuesIn(co_await m_session.shell().runSync(command));
        } catch (const ShellError&) {
            // There is no log to be had; what the tool has said must do.
        }
    }
    const QString kind = m_submission.subject.kindName();
    const QString tool = m_stage->tool.toString();
    const QString said = m_complaints.join(u'\n');
    m_report.failed({u"the %1 was not notarized"_s.arg(kind), m_stage->name.toString(), tool, said,
        m_session.remedy(tool, remedyFor(said, m_stage->remedy))});
    co_return ExitStatus::failed;
}

void NotarizeRun::follow(const QString& text)
{
    constexpr QStringView failureMark = u"❌ Process Failed: ";
    constexpr QStringView notaryMark = u"[notarytool] ";
    const QString message = text.trimmed();
    for (const Stage& stage : stages) {
        if (message.startsWith(stage.announcement)) {
            m_stage = &stage;
            m_complaints.clear();
        }
    }
    if (message.startsWith(failureMark)) { // for which the report has better words
        m_complaints += message.sliced(failureMark.size());
        return;
    }
    if (message.startsWith(notaryMark))
        readTranscript(message.sliced(notaryMark.size()));
    else if (message.contains("Retrying (Attempt"_L1))
        m_transcript.clear();
    for (const QString& line : linesOf(withoutMarks(message))) {
        if (isComplaint(line))
            m_complaints += line;
        m_report.progress(line);
    }
}

/// Tells the caller of a submission as soon as there is one: it outlives this program.
void NotarizeRun::readTranscript(const QString& piece)
{
    m_transcript += piece + u'\n';
    const std::optional<QString> identifier = submissionIn(m_transcript);
    if (!identifier || identifier == m_submission.identifier)
        return;
    m_submission.identifier = identifier;
    m_report.event(u"submission"_s, {{u"submission"_s, *identifier}});
}
