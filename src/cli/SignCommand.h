#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
} // namespace CLI
struct CommandHost;

/// What `vandor sign` was asked for, as it was typed.
struct SignOptions {
    std::string path;
    std::optional<std::string> identity;
    bool plan = false; // only say what would be done
    bool json = false;
    bool quiet = false;

    /// Adds the options to `command`; parsing writes into this object, which stays where it is.
    void addTo(CLI::App& command);
};

/// `vandor sign`: signs and verifies an application or a disk image. Returns the exit status.
int runSignCommand(const SignOptions& options, const CommandHost& host);
