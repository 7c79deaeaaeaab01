#pragma once

#include <string>

namespace CLI {
class App;
} // namespace CLI
struct CommandHost;

/// What `vandor verify` was asked for, as it was typed.
struct VerifyOptions {
    std::string image;
    bool json = false;
    bool quiet = false;

    /// Adds the options to `command`; parsing writes into this object, which stays where it is.
    void addTo(CLI::App& command);
};

/// `vandor verify`: examines a disk image from its checksums to what Gatekeeper says of it, and
/// names a remedy for each fault. Returns the exit status: done when it is ready for distribution.
int runVerifyCommand(const VerifyOptions& options, const CommandHost& host);
