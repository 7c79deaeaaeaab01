#pragma once

#include "keychain/TrustedRoots.h"

namespace tools {

/// Whom the user's tools trust. Whoever keeps nothing on this host trusts nobody of his own.
/// Throws volumes::StateFolderError, and what reading the roots throws.
keychain::TrustedRoots rootsOfUser();

} // namespace tools
