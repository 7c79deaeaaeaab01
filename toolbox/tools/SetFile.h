#pragma once

#include <iosfwd>
#include <span>
#include <string>

namespace tools {

/// `SetFile [-a LETTERS] [-t TYPE] [-c CREATOR] PATH...`: Finder attributes of files and folders,
/// the root of an attached volume included. Status 1 for a wrong call, 2 when a file could not be
/// changed. Never throws.
int setFile(std::span<const std::string> arguments, std::ostream& out, std::ostream& err);

} // namespace tools
