#pragma once

#include <QString>

#include <exception>

/// How a submission failed. Values are equal by their case.
class NotarizationError : public std::exception {
public:
    enum class Case {
        invalidStatus, // the service or its tool reported a failure of another kind than the
                       // network
        retryLimitExceeded, // every attempt met the network's
        unzipFailed,
    };

    explicit NotarizationError(Case which);

    Case which() const { return m_case; }
    /// What the user reads.
    QString description() const;
    const char* what() const noexcept override { return m_what.constData(); }

    bool operator==(const NotarizationError& other) const { return m_case == other.m_case; }

private:
    Case m_case;
    QByteArray m_what; // the description in UTF-8
};
