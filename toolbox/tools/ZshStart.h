#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tools {

/// How the host's Z shell is started in place of the Mac's `/bin/zsh`.
struct ZshStart {
    std::vector<std::string> arguments; // the program's name is the first
    std::vector<std::string> environment; // NAME=VALUE
};

/// The start that makes the Z shell know the tools of the folder `toolbox` by the absolute names
/// that they have on a Mac, and else do what it would do with `arguments` (without a program's
/// name) and `environment`. The command text is not touched: `ZDOTDIR` leads the shell to a
/// startup file of the toolbox, which defines the tools as functions, restores `ZDOTDIR` and reads
/// the user's own startup file. An /etc/zshenv that sets `ZDOTDIR` undoes this.
ZshStart zshStart(const std::filesystem::path& toolbox, std::span<const std::string> arguments,
    std::span<const std::string> environment);

/// That startup file in the folder `toolbox`.
std::filesystem::path zshStartupFile(const std::filesystem::path& toolbox);

/// The first of `candidates` that can be run and isn't the program `self`.
std::optional<std::filesystem::path> hostZsh(
    std::span<const std::filesystem::path> candidates, const std::filesystem::path& self);

} // namespace tools
