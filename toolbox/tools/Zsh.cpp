#include "tools/Zsh.h"

#include "tools/ZshStart.h"

#include <array>
#include <cerrno>
#include <iostream>
#include <system_error>
#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;

namespace {

constexpr int cannotRun = 126; // the statuses by which shells tell the two apart
constexpr int notFound = 127;

const std::array<fs::path, 3> places{"/usr/bin/zsh", "/bin/zsh", "/usr/local/bin/zsh"};

int fail(int status, const std::string& reason)
{
    std::cerr << "zsh: " << reason << '\n';
    return status;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> result;
    for (std::string& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> environmentEntries(char* environment[])
{
    std::vector<std::string> result;
    for (char** entry = environment; *entry != nullptr; ++entry)
        result.emplace_back(*entry);
    return result;
}

} // namespace

int zsh(int argc, char* argv[], char* environment[])
{
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    if (error)
        return fail(notFound, "can't tell where this program lies: " + error.message());
    const fs::path toolbox = self.parent_path().parent_path();
    if (::access(zshStartupFile(toolbox).c_str(), R_OK) != 0)
        return fail(notFound, zshStartupFile(toolbox).string() + " is missing; install it again");
    const auto shell = hostZsh(places, self);
    if (!shell)
        return fail(notFound, "this host has no Z shell; install the package zsh");

    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    ZshStart start = zshStart(toolbox, arguments, environmentEntries(environment));
    ::execve(
        shell->c_str(), pointersTo(start.arguments).data(), pointersTo(start.environment).data());
    return fail(cannotRun, shell->string() + ": " + std::generic_category().message(errno));
}

} // namespace tools
