#pragma once

#include <iosfwd>
#include <span>
#include <string>

namespace tools {

/// `spctl -a [-v*] [-t execute | install | open] [--context CONTEXT] PATH...`: what a Mac's
/// security policy says to code. Verdicts go to `err`, each in one piece. Status 0 for what may
/// run, 3 for what may not, 1 for what is broken, 2 for a wrong call. Never throws.
int spctl(std::span<const std::string> arguments, std::ostream& out, std::ostream& err);

} // namespace tools
