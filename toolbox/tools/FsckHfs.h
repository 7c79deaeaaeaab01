#pragma once

#include <iosfwd>
#include <span>
#include <string>

namespace tools {

/// The Mac's checker of HFS+ volumes. It takes an image or the bare volume in a file; it looks and
/// never repairs. Returns 0 for a sound volume, 8 for a damaged one, 1 when there is nothing to
/// look at.
int fsckHfs(std::span<const std::string> arguments, std::ostream& out, std::ostream& err);

} // namespace tools
