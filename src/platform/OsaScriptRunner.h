#pragma once

#include "platform/AppleScriptRunner.h"
#include "platform/ToolRunner.h"

/// Runs scripts through `/usr/bin/osascript`. A tool that can't be started is a failed script:
/// a silently unstyled volume would be worse.
class OsaScriptRunner : public AppleScriptRunner {
public:
    /// `tools` outlives this object and its runs.
    explicit OsaScriptRunner(ToolRunner& tools);

    QCoro::Task<ScriptOutcome> run(QString script) override;

    /// The text between "START:END: execution error: " (or syntax, or script error) and the
    /// number in parentheses at the end; it may hold line breaks. Nothing for other text.
    static std::optional<QString> messageIn(const QString& errorOutput);

private:
    ToolRunner& m_tools;
};
