#pragma once

#include <iosfwd>
#include <span>
#include <string>

namespace tools {

/// `hdiutil VERB ...`: create, attach, detach, convert, verify, info, imageinfo, with the Mac's
/// texts, columns and exit statuses. Never throws.
int hdiutil(std::span<const std::string> arguments, std::ostream& out, std::ostream& err);

} // namespace tools
