#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
} // namespace CLI
struct CommandHost;

/// What `vandor credentials` was asked for, as it was typed.
struct CredentialsOptions {
    std::string profile;
    std::optional<std::string> appleId, teamId; // of an account, whose password is read
    std::optional<std::string> keyFile, keyId, issuer; // of a key for the service's interface
    bool json = false;
    CLI::App* store = nullptr; // the action that was named has been parsed
    CLI::App* verify = nullptr;

    /// Adds the actions to `command`; parsing writes into this object, which stays where it is.
    void addTo(CLI::App& command);
};

/// `vandor credentials store` and `vandor credentials verify`: the credentials that submissions
/// name. Returns the exit status.
int runCredentialsCommand(const CredentialsOptions& options, const CommandHost& host);
