#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tools {

/// What `xcrun` was asked for.
struct XcrunCall {
    bool onlyFind = false; // print where the utility is
    std::string utility;
    std::vector<std::string> arguments; // of the utility
};

/// None for a call without a utility, or with an option that isn't known.
std::optional<XcrunCall> xcrunCall(std::span<const std::string> words);

/// The utility in the folders of `toolbox`, which is laid out as a Mac's root.
std::optional<std::filesystem::path> findUtility(
    const std::filesystem::path& toolbox, const std::string& name);

/// Runs the utility in this process's place, with the same environment; returns only when that
/// fails: status 72 for a utility that isn't there, 64 for a wrong call.
int xcrun(int argc, char* argv[]);

} // namespace tools
