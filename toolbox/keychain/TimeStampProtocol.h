#pragma once

#include "keychain/TrustedRoots.h"

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

/// The messages of the time-stamp protocol (RFC 3161), from the client's side.
namespace keychain {

/// A question for a time stamp over a SHA-256 imprint, with a random nonce.
class TimeStampRequest {
public:
    explicit TimeStampRequest(std::span<const std::byte> imprint);

    const std::vector<std::byte>& der() const { return m_der; }
    /// The token of `response`. Throws TimeStampUnavailable when it is a refusal, damaged or not
    /// the answer to this request.
    std::vector<std::byte> tokenOf(std::span<const std::byte> response) const;

private:
    std::vector<std::byte> m_der;
};

/// What a token says and what of it holds.
struct TokenFacts {
    bool isIntact = false; // signed as it says, over the data that was given
    Trust trust = Trust::notTrusted; // at `time`
    Time time{};
    std::vector<Certificate> chain; // the stamper's first
};

/// The time that a token states, whether it holds or not; none when it is no token.
std::optional<Time> timeOfToken(std::span<const std::byte> token);

/// `data` is what was stamped, not its hash. Never throws for a damaged token.
TokenFacts readToken(
    std::span<const std::byte> token, std::span<const std::byte> data, const TrustedRoots& roots);

} // namespace keychain
