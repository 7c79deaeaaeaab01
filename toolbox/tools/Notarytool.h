#pragma once

#include "tools/NotaryHost.h"

#include <iosfwd>
#include <span>
#include <string>

namespace tools {

/// `notarytool VERB ...`: hands files to a service that judges them. With a key of App Store
/// Connect that is the public one; under the profile `local`, and under profiles with an Apple ID
/// (for which there is no public interface), this host's own authority, and every report says so.
/// `store-credentials --service URL` names another place that speaks the public interface, for
/// rehearsals. Status 0 whenever there is a verdict, 64 for a wrong call, 69 for an unknown
/// profile, 1 for other failures. Never throws.
int notarytool(std::span<const std::string> arguments, std::ostream& out, std::ostream& err);

/// The same with a clock, a client and a folder of the caller's.
int notarytool(const NotaryHost& host, std::span<const std::string> arguments, std::ostream& out,
    std::ostream& err);

} // namespace tools
