#pragma once

#include "keychain/PrivateKey.h"

#include <vector>

namespace keychain {

/// Somebody who can sign: a certificate, those above it, and its private key.
struct Identity {
    Certificate certificate;
    std::vector<Certificate> issuers; // the certificate's own first, the root last
    PrivateKey key;
    bool isLocal = false; // made by this host's rehearsal authority, worth nothing elsewhere

    /// The chain with the certificate itself in front.
    std::vector<Certificate> chain() const;
    /// Issuers reach up to a root. Nothing is signed without.
    bool isComplete() const { return chain().back().isSelfIssued(); }
};

/// What is in the way of signing code with an identity now.
enum class Validity { valid, notTrusted, revoked, expired, notYetValid, wrongUsage };

/// As `security` prints it behind an identity ("CSSMERR_TP_CERT_EXPIRED"); empty for a valid one.
const char* errorName(Validity validity);

} // namespace keychain
