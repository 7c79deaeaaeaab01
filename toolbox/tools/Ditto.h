#pragma once

#include <iosfwd>
#include <span>
#include <string>

namespace tools {

/// `ditto -c -k [--keepParent] [--sequesterRsrc | --norsrc] SRC DST` makes a zip archive, `ditto -x
/// -k SRC... DST` unpacks some. Of the Mac's tool only what concerns zip archives. Status 1 for
/// every failure. Never throws.
int ditto(std::span<const std::string> arguments, std::ostream& out, std::ostream& err);

} // namespace tools
