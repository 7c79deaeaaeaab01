#include "cli/InspectCommand.h"

#include "cli/CommandReport.h"
#include "cli/Finding.h"
#include "cli/Subject.h"
#include "cli/ToolSession.h"
#include "cli/UsageError.h"
#include "notarization/PreFlightInspector.h"

#include <CLI/CLI.hpp>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

struct Row {
    QStringView check, title;
    bool InspectionResult::*passed;
    QStringView remedy;
};
constexpr Row rows[] = {
    {u"signature", u"Signed with a secure timestamp", &InspectionResult::isSigned,
        u"Sign it with a Developer ID: “vandor sign”."},
    {u"notarization", u"Notarized", &InspectionResult::isNotarized,
        u"Submit it: “vandor notarize”."},
    {u"staple", u"Ticket stapled", &InspectionResult::isStapled,
        u"Attach its ticket: “vandor staple”."},
};

/// The part of the inspection's log that is about the check of this number.
QString logOf(const InspectionResult& result, qsizetype number)
{
    const QString begin = u"--- %1."_s.arg(number + 1);
    const QString end = u"--- %1."_s.arg(number + 2);
    QString part = result.logs.section(begin, 1).section(end, 0, 0);
    part = part.section(u'\n', 1); // without the rest of the header
    return part.section(u"❌"_s, 0, 0).section(u"\n✅"_s, 0, 0).trimmed();
}

QCoro::Task<int> inspect(ToolSession& session, Subject subject, CommandReport& report)
{
    PreFlightInspector inspector(session.shell());
    const PreFlightInspector::Progress progress = [&report](const QString& label) {
        report.progress(label);
    };
    const InspectionResult result = co_await inspector.inspect(subject.location, progress);
    if (session.isInterrupted()) {
        report.interrupted(u"nothing was changed."_s);
        co_return ExitStatus::interrupted;
    }
    bool hasFailed = false;
    for (const Row& row : rows) {
        Finding finding{row.check.toString(), row.title.toString(), Finding::State::skipped,
            u"Not looked at."_s, row.remedy.toString()};
        if (!hasFailed) {
            finding.state = result.*row.passed ? Finding::State::passed : Finding::State::failed;
            finding.said = logOf(result, &row - rows);
        }
        hasFailed = hasFailed || finding.state == Finding::State::failed;
        finding.report(report);
    }
    const QJsonObject fields{{u"path"_s, subject.path()}, {u"ready"_s, !hasFailed},
        {u"signed"_s, result.isSigned}, {u"notarized"_s, result.isNotarized},
        {u"stapled"_s, result.isStapled},
        {u"reason"_s, result.failureReason ? QJsonValue(*result.failureReason) : QJsonValue()}};
    if (hasFailed)
        report.objected(*result.failureReason, fields);
    else
        report.finished(u"Ready for distribution."_s, fields);
    co_return hasFailed ? ExitStatus::failed : ExitStatus::done;
}

} // namespace

void InspectOptions::addTo(CLI::App& command)
{
    command.add_option("APP", application, "The application bundle")->required()->type_name("");
    command.add_flag("--json", json, "Write findings and the result as JSON, one object a line");
}

int runInspectCommand(const InspectOptions& options, const CommandHost& host)
{
    CommandReport report(host.results, host.messages, {u"inspect"_s, options.json});
    try {
        const Subject subject = applicationAt(options.application);
        ToolSession session(host);
        return session.exec([&] { return inspect(session, subject, report); });
    } catch (const UsageError& error) {
        report.misused(QString::fromUtf8(error.what()));
        return ExitStatus::misused;
    }
}
