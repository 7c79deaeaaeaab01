#pragma once

#include <string>

namespace volumes {

/// The name below /Volumes for a volume of this name: '/' becomes ':', control characters and line
/// ends, which would break the lists that tools print, become '_'; blanks at the end go; a name
/// that no folder can have becomes "Untitled"; longer ones are cut to what a host takes with a
/// number behind.
std::string mountNameFor(const std::string& volumeName);

/// The n-th choice: the name itself, "NAME 1", "NAME 2" ...
std::string numberedName(const std::string& name, unsigned choice);

} // namespace volumes
