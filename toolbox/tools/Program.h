#pragma once

#include <iosfwd>
#include <span>
#include <string>

namespace tools {

/// A tool without its process: arguments (the program's name left out) and streams in, exit status
/// out. Never throws.
using Command = int (*)(
    std::span<const std::string> arguments, std::ostream& out, std::ostream& err);

/// The whole of a tool's `main`. A signal takes away what is being written and ends the program
/// with 128 plus its number; a reader that closes the pipe is no reason to stop.
int runProgram(int argc, char* argv[], Command command);

} // namespace tools
