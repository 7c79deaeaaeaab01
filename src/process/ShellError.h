#pragma once

#include <QString>

#include <exception>

/// How a command that was waited for failed.
class ShellError : public std::exception {
public:
    enum class Case {
        commandFailed, // it ran and ended with a status other than 0
        executionFailed, // the shell could not be started
    };

    /// `output` is the command's standard output and standard error, as the runner joins them.
    static ShellError commandFailed(int exitStatus, QString output);
    /// `launchError` is the host's own sentence.
    static ShellError executionFailed(QString launchError);

    Case which() const { return m_case; }
    int exitStatus() const { return m_exitStatus; } // 0 for `executionFailed`
    /// The command's output or the host's sentence.
    const QString& text() const { return m_text; }

    /// What the user reads.
    QString description() const;
    /// The case and its values, for a log that shows them as they are.
    QString rendering() const;
    /// The description in UTF-8.
    const char* what() const noexcept override { return m_what.constData(); }

private:
    ShellError(Case which, int exitStatus, QString text);

    Case m_case;
    int m_exitStatus;
    QString m_text;
    QByteArray m_what;
};
