#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>

namespace volumes {

/// A process that uses something inside a folder, and its parent.
struct BusyProcess {
    pid_t id = 0;
    std::string program; // its path, or its short name where that is all we may see
    pid_t parentID = 0;
    std::string parentProgram;
};

/// The first process other than this one that works in `folder` or has a file open or in its memory
/// there. Processes of other users don't count: an unprivileged process can't see what they hold.
std::optional<BusyProcess> processUsing(const std::filesystem::path& folder);

} // namespace volumes
