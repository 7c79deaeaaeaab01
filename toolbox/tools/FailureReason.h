#pragma once

#include <exception>
#include <string>

namespace tools {

/// What follows "hdiutil: VERB failed - ": the Mac's words where it has some for the case. One
/// line.
std::string reasonOf(const std::exception& failure);

} // namespace tools
