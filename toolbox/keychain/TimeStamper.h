#pragma once

#include "keychain/OpenSsl.h"

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace keychain {

/// No time stamp was to be had. The text is what the Mac's signing tool says; `reason` is ours.
class TimeStampUnavailable : public std::runtime_error {
public:
    explicit TimeStampUnavailable(std::string reason)
        : std::runtime_error("The timestamp service is not available.")
        , m_reason(std::move(reason))
    { }
    const std::string& reason() const { return m_reason; }

private:
    std::string m_reason;
};

/// The service's clock and this host's are too far apart, as the Mac's signing tool puts it.
class TimeStampMismatch : public std::runtime_error {
public:
    explicit TimeStampMismatch(std::chrono::seconds difference)
        : std::runtime_error("timestamps differ by " + std::to_string(std::abs(difference.count()))
            + " seconds - check your system clock")
    { }
};

/// A service that vouches for the time at which something existed (RFC 3161).
class TimeStamper {
public:
    virtual ~TimeStamper() = default;
    /// The token over a SHA-256 imprint of 32 bytes, in DER. Throws TimeStampUnavailable.
    virtual std::vector<std::byte> token(std::span<const std::byte> imprint) const = 0;
};

} // namespace keychain
