#pragma once

#include <string>

namespace CLI {
class App;
} // namespace CLI
struct CommandHost;

/// What `vandor staple` was asked for, as it was typed.
struct StapleOptions {
    std::string path;
    bool json = false;
    bool quiet = false;

    /// Adds the options to `command`; parsing writes into this object, which stays where it is.
    void addTo(CLI::App& command);
};

/// `vandor staple`: attaches its ticket to what was notarized before. Returns the exit status.
int runStapleCommand(const StapleOptions& options, const CommandHost& host);
