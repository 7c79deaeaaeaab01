#pragma once

#include "codesign/CodeSubject.h"
#include "codesign/StaticCode.h"

#include <string>
#include <vector>

namespace codesign {

/// What `codesign -d` prints of signed code, line by line; the higher `level`, the more. Throws
/// CodeError for unsigned code.
std::vector<std::string> reportOn(
    const StaticCode& code, const keychain::TrustedRoots& roots, int level);

/// "Apr 9, 2025 at 18:47:11" in the local time zone.
std::string dateText(keychain::Time time);

/// The entitlements in the signature as they were given; empty when there are none.
std::vector<std::byte> entitlementsIn(const StaticCode& code);

/// The designated requirement as text, whether it was written into the signature or follows from
/// the code's hashes.
std::string designatedText(const StaticCode& code);
bool hasExplicitRequirement(const StaticCode& code);

} // namespace codesign
