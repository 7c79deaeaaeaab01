#pragma once

#include "cli/SecretInput.h"
#include "platform/SystemRoot.h"

#include <functional>
#include <optional>

class Clock;
class QIODevice;
class SettingsManager;
class UserDefaults;

/// What the commands work with, borrowed for one run of the program.
struct CommandHost {
    /// The tools, with a state folder of the run's own.
    std::function<SystemRoot(const QString& stateFolder)> rootForSession;
    UserDefaults& defaults;
    SettingsManager& settings; // over `defaults`
    Clock& clock;
    QString temporaryFolder;
    QIODevice& results; // what the caller asked for
    QIODevice& messages; // what a person reads meanwhile
    /// From now on the tools' own output goes nowhere.
    std::function<void()> silenceTools;
    /// The tools with the user's own state: the keychain is there.
    std::function<SystemRoot()> rootOfUser = &SystemRoot::host;
    std::function<std::optional<QString>(const QString& prompt)> readSecret = &::readSecret;
};

/// The program's exit statuses.
namespace ExitStatus {
constexpr int done = 0;
constexpr int failed = 1;
constexpr int misused = 2;
constexpr int interrupted = 130;
} // namespace ExitStatus
