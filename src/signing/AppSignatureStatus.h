#pragma once

#include <QString>

#include <utility>

/// What an inspection found of an application's signature. `text` is the authority for `signedBy`,
/// a description for `invalid`, and empty otherwise.
struct AppSignatureStatus {
    enum class Case { signedBy, invalid, unknown, unsignedCode };

    Case which = Case::unknown; // not inspected yet
    QString text;

    static AppSignatureStatus signedBy(QString authority)
    {
        return {Case::signedBy, std::move(authority)};
    }
    static AppSignatureStatus invalid(QString description)
    {
        return {Case::invalid, std::move(description)};
    }
    static AppSignatureStatus unknown() { return {}; }
    static AppSignatureStatus unsignedCode() { return {Case::unsignedCode, {}}; }

    bool operator==(const AppSignatureStatus&) const = default;
};

/// A status and what the log says of it.
struct SignatureFinding {
    AppSignatureStatus status;
    QString message;
};

/// Reads the report of an inspection that succeeded.
SignatureFinding signatureIn(const QString& report);
