#pragma once

#include <QString>

#include <optional>
#include <string>

struct CommandHost;

/// The credentials to submit with: those that were `asked` for or else those used last. Throws
/// UsageError where there are none.
QString chosenProfile(const std::optional<std::string>& asked, const CommandHost& host);
