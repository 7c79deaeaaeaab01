#include "cli/VerifyCommand.h"

#include "cli/CommandReport.h"
#include "cli/ImageExamination.h"
#include "cli/Rehearsal.h"
#include "cli/Subject.h"
#include "cli/ToolSession.h"
#include "cli/UsageError.h"
#include "notarization/NotaryCommands.h"
#include "notarization/VerificationManager.h"
#include "process/ShellQuoting.h"
#include "signing/CodesignCommands.h"

#include <CLI/CLI.hpp>
#include <QJsonObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// One examination: a finding a check, reported as it is made.
class Examination {
public:
    Examination(ToolSession& session, Subject subject, CommandReport& report)
        : m_session(session)
        , m_subject(std::move(subject))
        , m_report(report)
    { }

    QCoro::Task<int> run();

private:
    QCoro::Task<Finding> ask(Finding finding, QString command);
    QCoro::Task<Finding> grade();
    void add(const Finding& finding);
    int conclude();

    ToolSession& m_session;
    Subject m_subject;
    CommandReport& m_report;
    QList<Finding> m_findings;
    QString m_authority = u"unknown"_s;
    bool m_isRehearsal = false;
};

QCoro::Task<int> Examination::run()
{
    const QString path = m_subject.path();
    m_report.progress(u"Comparing checksums..."_s);
    const ToolCall call = verifyImageCall(path);
    const ToolOutcome outcome = co_await m_session.tools().run(call);
    if (!m_session.isInterrupted()) {
        for (const Finding& finding : findingsIn(outcome))
            add(finding);
        m_report.progress(u"Checking the signature..."_s);
        const Finding signature{u"signature"_s, u"Signature"_s, Finding::State::skipped, {},
            u"Sign it with a Developer ID: “vandor sign”. What was changed after it was signed "
            u"must be built again."_s};
        add(co_await ask(signature, CodesignCommands::verify(path)));
        m_report.progress(u"Looking for the ticket..."_s);
        const Finding ticket{u"ticket"_s, u"Ticket"_s, Finding::State::skipped, {},
            u"Submit it with “vandor notarize”; if that was done, “vandor staple” attaches the "
            u"ticket."_s};
        add(co_await ask(ticket, NotaryCommands::validateStaple(path)));
        m_report.progress(u"Asking Gatekeeper..."_s);
        add(co_await grade());
    }
    if (m_session.isInterrupted()) {
        m_report.interrupted(u"nothing was changed."_s);
        co_return ExitStatus::interrupted;
    }
    co_return conclude();
}

/// A check whose tool's status decides.
QCoro::Task<Finding> Examination::ask(Finding finding, QString command)
{
    try {
        finding.said = co_await m_session.shell().runSync(withErrors(command));
        finding.state = Finding::State::passed;
    } catch (const ShellError& error) {
        finding.said = error.text();
        finding.state = Finding::State::failed;
    }
    co_return finding;
}

QCoro::Task<Finding> Examination::grade()
{
    VerificationManager manager(m_session.shell());
    co_await manager.verify(m_subject.location);
    Finding finding{u"gatekeeper"_s, u"Gatekeeper"_s, Finding::State::failed, manager.logs(),
        u"Sign the image with a Developer ID, then notarize and staple it."_s};
    m_isRehearsal = isRehearsal(manager.logs());
    switch (manager.authorityState()) {
    case AuthorityState::appleNotarized:
        m_authority = u"appleNotarized"_s;
        break;
    case AuthorityState::developerId:
        m_authority = u"developerId"_s;
        finding.remedy = u"It is signed and not notarized: “vandor notarize”."_s;
        break;
    case AuthorityState::unsignedCode:
        m_authority = u"unsigned"_s;
        break;
    case AuthorityState::unknown:
        break;
    }
    if (manager.isReadyForDistribution())
        finding.state = Finding::State::passed;
    co_return finding;
}

void Examination::add(const Finding& finding)
{
    if (m_session.isInterrupted())
        return;
    m_findings += finding;
    finding.report(m_report);
}

int Examination::conclude()
{
    const bool isReady =
        std::ranges::count(m_findings, Finding::State::failed, &Finding::state) == 0;
    const QJsonObject fields{{u"path"_s, m_subject.path()}, {u"ready"_s, isReady},
        {u"authority"_s, m_authority}, {u"rehearsal"_s, m_isRehearsal}};
    if (isReady)
        m_report.finished(readyLine(m_isRehearsal), fields);
    else
        m_report.objected(u"Not ready for distribution."_s, fields);
    return isReady ? ExitStatus::done : ExitStatus::failed;
}

} // namespace

void VerifyOptions::addTo(CLI::App& command)
{
    command.add_option("IMAGE", image, "The disk image")->required()->type_name("");
    command.add_flag("--json", json, "Write findings and the result as JSON, one object a line");
    command.add_flag("--quiet", quiet, "Write findings and the result only");
}

int runVerifyCommand(const VerifyOptions& options, const CommandHost& host)
{
    CommandReport report(host.results, host.messages, {u"verify"_s, options.json, options.quiet});
    try {
        const Subject subject = imageAt(options.image);
        ToolSession session(host);
        Examination examination(session, subject, report);
        return session.exec([&] { return examination.run(); });
    } catch (const UsageError& error) {
        report.misused(QString::fromUtf8(error.what()));
        return ExitStatus::misused;
    }
}
