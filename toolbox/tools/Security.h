#pragma once

#include <iosfwd>
#include <span>
#include <string>

namespace tools {

/// `security VERB ...`: the user's signing identities. Of the Mac's verbs those around identities
/// and certificates; `create-identity` is ours. Status 2 for a wrong call, 44 when nothing was
/// found, 1 for other failures. Never throws.
int security(std::span<const std::string> arguments, std::ostream& out, std::ostream& err);

} // namespace tools
