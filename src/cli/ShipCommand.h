#pragma once

#include "cli/BuildOptions.h"

struct CommandHost;

/// What `vandor ship` was asked for, as it was typed.
struct ShipOptions {
    BuildOptions build;
    std::optional<std::string> identity;
    std::optional<std::string> profile;

    /// Adds the options to `command`; parsing writes into this object, which stays where it is.
    void addTo(CLI::App& command);
};

/// `vandor ship`: signs and notarizes an application, makes an image of it, signs, notarizes and
/// examines that. Goes on where an earlier run for the same output has stopped. Returns the exit
/// status.
int runShipCommand(const ShipOptions& options, const CommandHost& host);
