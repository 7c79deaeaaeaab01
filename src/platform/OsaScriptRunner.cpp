#include "platform/OsaScriptRunner.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

OsaScriptRunner::OsaScriptRunner(ToolRunner& tools)
    : m_tools(tools)
{ }

QCoro::Task<ScriptOutcome> OsaScriptRunner::run(QString script)
{
    ToolCall call;
    call.program = u"/usr/bin/osascript"_s;
    call.input = script.toUtf8();
    call.captureOutput = true; // the script's result, which nobody asked for
    call.captureError = true;
    const ToolOutcome ended = co_await m_tools.run(call);

    ScriptOutcome outcome;
    if (ended.launchError) {
        outcome.failed = true;
        outcome.information = *ended.launchError;
        outcome.message = ended.launchError;
    } else if (ended.exitStatus != 0) {
        const QString text = QString::fromUtf8(ended.error).trimmed();
        outcome.failed = true;
        outcome.information =
            text.isEmpty() ? u"osascript ended with status %1"_s.arg(ended.exitStatus) : text;
        outcome.message = messageIn(text);
    }
    co_return outcome;
}

std::optional<QString> OsaScriptRunner::messageIn(const QString& errorOutput)
{
    static const QRegularExpression form(
        uR"(\d+:\d+: (?:execution|syntax|script) error: (.*) \(-?\d+\)\s*$)"_s,
        QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch match = form.match(errorOutput);
    if (!match.hasMatch() || match.capturedView(1).isEmpty())
        return std::nullopt;
    return match.captured(1);
}
