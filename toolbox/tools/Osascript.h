#pragma once

#include "applescript/MountedVolume.h"

#include <functional>
#include <iosfwd>
#include <span>
#include <string>
#include <vector>

namespace tools {

/// `osascript [-l AppleScript] [-s h|s] [-e LINE ... | FILE | -]`: runs a script, from standard
/// input when it is given nothing, against a Finder that knows the mounted volumes. The script
/// takes no time: its delays are counted, not waited for.
///
/// Prints the last result as a script would write it (`-s h`: texts without their quotes) and
/// returns 0; or one line on `err`, "START:END: execution error: MESSAGE (NUMBER)" with "syntax
/// error" for a script that does not compile, and returns 1. Offsets count UTF-16 units; a script
/// file's name goes in front, and its "syntax error" is a "script error". Never throws.
int osascript(std::span<const std::string> arguments, std::ostream& out, std::ostream& err);

/// The same with another host's input and volumes. `volumes` is asked once, before the script runs.
struct OsascriptHost {
    std::istream& input;
    std::function<std::vector<applescript::MountedVolume>()> volumes;
};
int osascript(std::span<const std::string> arguments, const OsascriptHost& host, std::ostream& out,
    std::ostream& err);

} // namespace tools
