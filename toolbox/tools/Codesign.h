#pragma once

#include <iosfwd>
#include <span>
#include <string>

namespace tools {

/// `codesign --sign IDENTITY | --verify | --display | --remove-signature [options] PATH...`.
/// Reports go to `err`, each in one piece, as those who read them expect. Status 0 when all is
/// well, 1 when something isn't, 2 for a wrong call, 3 when code is whole but doesn't meet a
/// requirement. Never throws.
int codesign(std::span<const std::string> arguments, std::ostream& out, std::ostream& err);

} // namespace tools
