#pragma once

#include <QString>

struct CommandHost;

/// What the signing tool tells of a thing whose signature verifies; all empty for any other.
struct SignatureFacts {
    QString code; // hash of the code directory, which a stapled ticket leaves as it is
    QString authority; // who signed
};

/// The user wants to stop, while a command is between its parts.
struct Interrupted { };

/// Runs the main loop meanwhile. Throws Interrupted.
SignatureFacts signatureFacts(const QString& path, const CommandHost& host);
