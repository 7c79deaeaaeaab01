#pragma once

#include "notary/Clock.h"
#include "notary/HttpClient.h"

#include <iosfwd>
#include <span>
#include <string>

namespace tools {

/// `stapler staple | validate [-q] [-v] PATH...`: attaches code's notarization ticket to it, or
/// looks at the one that is there. Reports go to `out`, each in one piece. Status 0 when all is
/// well; 64 for a wrong call, 65 without a (good) ticket, 66 for what can't carry one, 68 when the
/// network fails, 73 when the file can't be written. Never throws.
int stapler(std::span<const std::string> arguments, std::ostream& out, std::ostream& err);

/// The same with a client and a clock of the caller's.
int stapler(const notary::HttpClient& client, notary::Clock& clock,
    std::span<const std::string> arguments, std::ostream& out, std::ostream& err);

} // namespace tools
