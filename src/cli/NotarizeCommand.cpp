#include "cli/NotarizeCommand.h"

#include "cli/CommandReport.h"
#include "cli/NotarizeRun.h"
#include "cli/ProfileChoice.h"
#include "cli/UsageError.h"
#include "platform/PlatformError.h"

#include <CLI/CLI.hpp>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

std::optional<QString> submissionOf(const NotarizeOptions& options)
{
    static const QRegularExpression form(u"^[0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}$"_s);
    if (!options.submission)
        return std::nullopt;
    const QString submission = QString::fromStdString(*options.submission);
    if (!form.match(submission).hasMatch())
        throw UsageError(u"--submission: “%1” is not the id of a submission"_s.arg(submission));
    return submission;
}

} // namespace

void NotarizeOptions::addTo(CLI::App& command)
{
    command.add_option("PATH", path, "The application bundle or the disk image, signed")
        ->required()
        ->type_name("");
    command
        .add_option("--profile", profile,
            "The stored credentials to submit with (default: those used last)")
        ->type_name("NAME");
    command
        .add_option(
            "--submission", submission, "Go on with a submission made before instead of making one")
        ->type_name("ID");
    command.add_flag("--json", json, "Write events and the result as JSON, one object a line");
    command.add_flag("--quiet", quiet, "Write the result and failures only");
}

int runNotarizeCommand(const NotarizeOptions& options, const CommandHost& host)
{
    CommandReport report(host.results, host.messages, {u"notarize"_s, options.json, options.quiet});
    try {
        const Submission submission{
            subjectAt(options.path), chosenProfile(options.profile, host), submissionOf(options)};
        return NotarizeRun(submission, host, report).exec();
    } catch (const UsageError& error) {
        report.misused(QString::fromUtf8(error.what()));
        return ExitStatus::misused;
    } catch (const PlatformError& error) {
        report.failed({u"nothing was submitted"_s, u"making room for an archive"_s, {},
            error.description(), u"Set TMPDIR to a folder that you can write to."_s});
        return ExitStatus::failed;
    }
}
