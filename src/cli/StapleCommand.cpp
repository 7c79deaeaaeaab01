#include "cli/StapleCommand.h"

#include "cli/CommandReport.h"
#include "cli/Subject.h"
#include "cli/ToolSession.h"
#include "cli/UsageError.h"
#include "notarization/NotaryService.h"
#include "notarization/RunFailure.h"

#include <CLI/CLI.hpp>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

QCoro::Task<int> staple(
    ToolSession& session, NotaryService& service, Subject subject, CommandReport& report)
{
    QString said;
    const NotaryService::Log log = [&](const QString& message) {
        said += QString(message).remove(u"[stapler] "_s).remove(u"[ERR] "_s);
        report.progress(message.trimmed());
    };
    const std::optional<QString> failure =
        co_await failureOf(service.staple(subject.location, log));
    if (session.isInterrupted()) {
        report.interrupted(u"“%1” may be stapled or not."_s.arg(subject.path()));
        co_return ExitStatus::interrupted;
    }
    if (failure) {
        const QString tool = u"/usr/bin/xcrun"_s;
        report.failed({u"no ticket was stapled"_s, u"stapling"_s, tool, said + *failure,
            session.remedy(tool,
                u"See that the %1 was notarized as it is now; a ticket can be published some "
                u"minutes after the verdict."_s.arg(subject.kindName()))});
        co_return ExitStatus::failed;
    }
    report.finished(subject.path(), {{u"path"_s, subject.path()}, {u"kind"_s, subject.kindName()}});
    co_return ExitStatus::done;
}

} // namespace

void StapleOptions::addTo(CLI::App& command)
{
    command.add_option("PATH", path, "The application bundle or the disk image")
        ->required()
        ->type_name("");
    command.add_flag("--json", json, "Write events and the result as JSON, one object a line");
    command.add_flag("--quiet", quiet, "Write the result and failures only");
}

int runStapleCommand(const StapleOptions& options, const CommandHost& host)
{
    CommandReport report(host.results, host.messages, {u"staple"_s, options.json, options.quiet});
    try {
        const Subject subject = subjectAt(options.path);
        ToolSession session(host);
        NotaryService service(session.shell(), host.clock);
        return session.exec([&] { return staple(session, service, subject, report); });
    } catch (const UsageError& error) {
        report.misused(QString::fromUtf8(error.what()));
        return ExitStatus::misused;
    }
}
