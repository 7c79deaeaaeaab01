#include "cli/SigningPlan.h"

#include "cli/SigningSession.h"
#include "platform/ToolRunner.h"

#include <QJsonArray>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

const QString codesignTool = u"/usr/bin/codesign"_s;

/// The same call that signs, but that it stops before anything is changed. Who signs makes no
/// difference to what is signed, so nobody is named.
ToolCall dryRunOf(const Subject& subject)
{
    ToolCall call;
    call.program = codesignTool;
    call.arguments = {u"--dryrun"_s, u"--force"_s, u"--sign"_s, u"-"_s};
    if (!subject.isImage())
        call.arguments += {u"--options"_s, u"runtime"_s, u"--deep"_s};
    call.arguments += {u"--"_s, subject.path()};
    call.captureOutput = true;
    call.captureError = true;
    return call;
}

QCoro::Task<int> plan(SigningSession& session, Subject subject, CommandReport& report)
{
    const ToolCall call = dryRunOf(subject);
    const ToolOutcome outcome = co_await session.tools().run(call);
    if (session.isInterrupted()) {
        report.interrupted(u"nothing was touched."_s);
        co_return ExitStatus::interrupted;
    }
    if (!outcome.succeeded()) {
        report.failed({u"there is no plan"_s, u"looking for code"_s, codesignTool,
            outcome.launchError.value_or(QString::fromUtf8(outcome.error).trimmed()),
            u"Mend what the tool names; signing would stop there too."_s});
        co_return ExitStatus::failed;
    }
    QJsonArray steps;
    const QString text = QString::fromUtf8(outcome.output);
    for (const QString& line : text.split(u'\n', Qt::SkipEmptyParts)) {
        report.item(u"step"_s, line, {{u"text"_s, line}});
        steps += line;
    }
    const QJsonObject fields{{u"path"_s, subject.path()}, {u"steps"_s, steps}};
    report.finished({}, fields);
    co_return ExitStatus::done;
}

} // namespace

int runSigningPlan(const Subject& subject, const CommandHost& host, CommandReport& report)
{
    SigningSession session(host);
    return session.exec([&] { return plan(session, subject, report); });
}
