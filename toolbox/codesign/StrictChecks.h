#pragma once

#include "codesign/StaticCode.h"

namespace codesign {

/// What a Mac refuses only when it is asked to be strict: stray contents in a bundle's root, links
/// that lead out of it, attributes that get lost, bytes behind a Mach-O file's signature. Throws
/// CodeError.
void checkStrictly(const StaticCode& code);

} // namespace codesign
