#pragma once

#include <QString>

class CommandReport;

/// What one check of several found.
struct Finding {
    enum class State {
        passed,
        failed,
        skipped, // not looked at, because of what an earlier check found or what the host can't
    };

    QString check; // its name in JSON: "signature"
    QString title; // for a person: "Signature"
    State state = State::skipped;
    QString said; // by the tool; or why it was skipped
    QString remedy; // where it failed

    /// To the results: as a line or two, or as an event "check".
    void report(CommandReport& report) const;
};
