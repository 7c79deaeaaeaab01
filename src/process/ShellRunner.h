#pragma once

#include "process/OutputSequence.h"
#include "process/ShellError.h"

#include <QCoro/QCoroTask>
#include <QString>

#include <optional>

class ToolRunner;

/// Runs command texts through `/bin/zsh -c`. A text comes complete, with its quoting (see
/// ShellQuoting.h) and redirections, and is handed on as it is. The child finds its tools in
/// /usr/bin, /bin, /usr/sbin, /sbin and /usr/local/bin alone, whatever PATH this process has;
/// everything else, standard input too, it has from this process.
///
/// Runs share nothing and overlap freely. There is no time limit: a child runs to its end, whoever
/// still waits.
class ShellRunner {
public:
    /// `tools` outlives this object; a run outlives both.
    explicit ShellRunner(ToolRunner& tools);
    /// The one over the host's own tools, made on first use, never destroyed.
    static ShellRunner& shared();

    /// Gives the command's standard output without white space at its ends; empty when it is no
    /// UTF-8. Throws ShellError: for a status other than 0 with standard output, a line feed unless
    /// that is empty, and standard error.
    QCoro::Task<QString> runSync(QString command);

    /// Starts the command at once, in `folder` if one is given, and gives its output as text pieces
    /// as they come, those of standard error with "[ERR] " in front. A piece holds any number of
    /// lines and parts of lines, but no part of a character; one that is no UTF-8 is left out. A
    /// failure to start is a piece of its own.
    OutputSequence runStreaming(
        const QString& command, const std::optional<QString>& folder = std::nullopt);

private:
    ToolRunner& m_tools;
};
