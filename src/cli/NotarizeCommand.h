#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
} // namespace CLI
struct CommandHost;

/// What `vandor notarize` was asked for, as it was typed.
struct NotarizeOptions {
    std::string path;
    std::optional<std::string> profile;
    std::optional<std::string> submission; // one made before, to go on with
    bool json = false;
    bool quiet = false;

    /// Adds the options to `command`; parsing writes into this object, which stays where it is.
    void addTo(CLI::App& command);
};

/// `vandor notarize`: submits an application (in an archive) or a disk image, waits for the verdict
/// and staples the ticket. An image is assessed as well. Returns the exit status.
int runNotarizeCommand(const NotarizeOptions& options, const CommandHost& host);
