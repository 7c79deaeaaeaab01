#pragma once

#include <QString>

#include <exception>

/// A credential command that ended with another status than 0.
class NotaryError : public std::exception {
public:
    static NotaryError commandFailed(QString output) { return NotaryError(std::move(output)); }

    /// What the tool said, standard output and standard error as they came.
    const QString& description() const { return m_output; }
    /// The description in UTF-8.
    const char* what() const noexcept override { return m_what.constData(); }

private:
    explicit NotaryError(QString output)
        : m_output(std::move(output))
        , m_what(m_output.toUtf8())
    { }

    QString m_output;
    QByteArray m_what;
};
