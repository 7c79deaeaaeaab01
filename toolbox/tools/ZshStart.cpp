#include "tools/ZshStart.h"

#include <string_view>
#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view folderVariable = "ZDOTDIR=";
constexpr std::string_view savedVariable = "VANDOR_ZDOTDIR="; // as the startup file knows it

} // namespace

ZshStart zshStart(const fs::path& toolbox, std::span<const std::string> arguments,
    std::span<const std::string> environment)
{
    ZshStart start;
    // A shell tells by its own name how it shall behave, and $0 shows it.
    start.arguments.emplace_back("/bin/zsh");
    start.arguments.insert(start.arguments.end(), arguments.begin(), arguments.end());

    for (const std::string& entry : environment) {
        if (entry.starts_with(folderVariable))
            start.environment.push_back(
                std::string(savedVariable) + entry.substr(folderVariable.size()));
        else if (!entry.starts_with(savedVariable))
            start.environment.push_back(entry);
    }
    start.environment.push_back(
        std::string(folderVariable) + zshStartupFile(toolbox).parent_path().string());
    return start;
}

fs::path zshStartupFile(const fs::path& toolbox)
{
    return toolbox / "etc" / "zsh" / ".zshenv";
}

std::optional<fs::path> hostZsh(std::span<const fs::path> candidates, const fs::path& self)
{
    for (const fs::path& candidate : candidates) {
        std::error_code unreadable;
        if (::access(candidate.c_str(), X_OK) == 0 && fs::is_regular_file(candidate, unreadable)
            && !fs::equivalent(candidate, self, unreadable))
            return candidate;
    }
    return std::nullopt;
}

} // namespace tools
