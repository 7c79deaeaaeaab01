#pragma once

#include <iosfwd>
#include <span>
#include <string>

namespace tools {

/// `diskutil [quiet] VERB ...`: unmount [force], unmountDisk [force], eject, info, for mount points
/// and devices of attached images. Never throws.
int diskutil(std::span<const std::string> arguments, std::ostream& out, std::ostream& err);

} // namespace tools
