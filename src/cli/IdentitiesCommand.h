#pragma once

namespace CLI {
class App;
} // namespace CLI
struct CommandHost;

/// What `vandor identities` was asked for.
struct IdentitiesOptions {
    bool json = false;

    /// Adds the options to `command`; parsing writes into this object, which stays where it is.
    void addTo(CLI::App& command);
};

/// `vandor identities`: lists the identities that can sign. Returns the exit status.
int runIdentitiesCommand(const IdentitiesOptions& options, const CommandHost& host);
