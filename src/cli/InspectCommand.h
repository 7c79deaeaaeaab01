#pragma once

#include <string>

namespace CLI {
class App;
} // namespace CLI
struct CommandHost;

/// What `vandor inspect` was asked for, as it was typed.
struct InspectOptions {
    std::string application;
    bool json = false;

    /// Adds the options to `command`; parsing writes into this object, which stays where it is.
    void addTo(CLI::App& command);
};

/// `vandor inspect`: tells whether an application is signed, notarized and stapled. Returns the
/// exit status: done when it is all three.
int runInspectCommand(const InspectOptions& options, const CommandHost& host);
