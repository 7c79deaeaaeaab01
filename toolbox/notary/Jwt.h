#pragma once

#include "notary/ApiKey.h"

#include <chrono>
#include <string>

namespace notary {

/// How long a token holds; the service takes none that hold longer than 20 minutes.
inline constexpr std::chrono::minutes tokenLifetime{15};

/// The token (RFC 7519, ES256) by which the service knows its caller. Throws bytes::FormatError
/// when the key isn't a private key on the curve P-256.
std::string makeToken(const ApiKey& key, std::chrono::system_clock::time_point now);

} // namespace notary
