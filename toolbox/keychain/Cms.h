#pragma once

#include "keychain/Identity.h"
#include "keychain/TimeStamper.h"
#include "keychain/TrustedRoots.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// The signature proper of signed code: CMS SignedData (RFC 5652) over a code directory.
namespace keychain {

/// The hash of a whole code directory, by its own hash kind.
struct CodeHash {
    uint8_t hashType = 0; // as code directories number them: 1 SHA-1, 2 SHA-256, ...
    std::vector<std::byte> full; // not cut to the 20 bytes of a cdhash

    bool operator==(const CodeHash&) const = default;
};

/// A detached signature in DER over `primaryCodeDirectory`, which also names all `codeHashes` (one
/// for each code directory, by ascending hash type). Asks `stamper`, if any, for a time stamp.
/// Throws CryptoError (also for an incomplete chain), TimeStampUnavailable and TimeStampMismatch.
std::vector<std::byte> signCode(const Identity& identity,
    std::span<const std::byte> primaryCodeDirectory, std::span<const CodeHash> codeHashes,
    const TimeStamper* stamper = nullptr);

enum class StampState {
    none,
    trusted,
    notTrusted, // fits the signature, but nobody vouches for who made it
    broken, // or made for another signature
};

/// What a signature says, and what of it holds.
struct SignatureFacts {
    /// It is the signer's, over this code directory, and names just these code hashes.
    bool isIntact = false;
    std::string fault; // why not

    std::vector<Certificate> chain; // the signer's first; as far as the certificates reach
    /// At the time stamp's time; else at the signing time; else now. A signer whose certificate is
    /// not for code is not trusted.
    Trust trust = Trust::notTrusted;
    std::optional<Time> signingTime; // by the signer's own clock

    StampState stampState = StampState::none;
    std::optional<Time> timestamp; // only of a trusted stamp
    std::vector<Certificate> stampChain;
};

/// Throws bytes::FormatError for what is no signature of one signer.
SignatureFacts readCodeSignature(std::span<const std::byte> cms,
    std::span<const std::byte> primaryCodeDirectory, std::span<const CodeHash> codeHashes,
    const TrustedRoots& roots);

} // namespace keychain
