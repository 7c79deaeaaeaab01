#pragma once

#include <QUrl>

#include <optional>
#include <string>

namespace CLI {
class App;
} // namespace CLI
struct CommandHost;

/// What `vandor sign` was asked for, as it was typed.
struct SignOptions {
    enum class Kind { application, image };
    struct Subject {
        Kind kind;
        QUrl location; // absolute
    };

    std::string path;
    std::optional<std::string> identity;
    bool plan = false; // only say what would be done
    bool json = false;
    bool quiet = false;

    /// Adds the options to `command`; parsing writes into this object, which stays where it is.
    void addTo(CLI::App& command);
    /// What is to be signed. Throws UsageError for what is neither application nor image.
    Subject subject() const;
};

/// `vandor sign`: signs and verifies an application or a disk image. Returns the exit status.
int runSignCommand(const SignOptions& options, const CommandHost& host);
