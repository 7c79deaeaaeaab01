#include "tools/Xcrun.h"

#include <array>
#include <cerrno>
#include <iostream>
#include <system_error>
#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;

namespace {

constexpr int usageStatus = 64;
constexpr int missingStatus = 72; // sysexits.h: a system file is missing

int runUtility(const fs::path& program, XcrunCall call)
{
    std::vector<char*> words{call.utility.data()};
    for (std::string& argument : call.arguments)
        words.push_back(argument.data());
    words.push_back(nullptr);
    ::execv(program.c_str(), words.data());
    const int error = errno;
    std::cerr << "xcrun: error: can't exec '" << program.string() << "' ("
              << std::generic_category().message(error) << ")\n";
    return missingStatus;
}

} // namespace

std::optional<XcrunCall> xcrunCall(std::span<const std::string> words)
{
    XcrunCall call;
    while (!words.empty() && words[0].starts_with('-')) {
        const std::string& option = words[0];
        const bool takesValue = option == "--sdk" || option == "-sdk" || option == "--toolchain";
        if (option == "--find" || option == "-find" || option == "-f")
            call.onlyFind = true;
        else if (option != "--run" && option != "-run" && option != "-r" && !takesValue)
            return std::nullopt;
        words = words.subspan(takesValue && words.size() > 1 ? 2 : 1);
    }
    if (words.empty())
        return std::nullopt;
    call.utility = words[0];
    call.arguments.assign(words.begin() + 1, words.end());
    return call;
}

std::optional<fs::path> findUtility(const fs::path& toolbox, const std::string& name)
{
    if (name.empty() || name.find('/') != std::string::npos)
        return std::nullopt;
    for (const char* folder : {"usr/bin", "usr/sbin", "bin"}) {
        const fs::path candidate = toolbox / folder / name;
        if (fs::is_regular_file(candidate) && ::access(candidate.c_str(), X_OK) == 0)
            return candidate;
    }
    return std::nullopt;
}

int xcrun(int argc, char* argv[])
{
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    auto call = xcrunCall(words);
    if (!call) {
        std::cerr << "Usage: xcrun [--find] <utility> [<argument>...]\n";
        return usageStatus;
    }
    // This program is TOOLBOX/usr/bin/xcrun.
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    const auto program = findUtility(self.parent_path().parent_path().parent_path(), call->utility);
    if (!program) {
        std::cerr << "xcrun: error: unable to find utility \"" + call->utility
                + "\", not a developer tool or in PATH\n";
        return missingStatus;
    }
    if (!call->onlyFind)
        return runUtility(*program, *std::move(call));
    std::cout << program->string() << '\n';
    return 0;
}

} // namespace tools
