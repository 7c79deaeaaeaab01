#pragma once

#include "keychain/PrivateKey.h"

#include <chrono>
#include <string>
#include <vector>

namespace keychain {

/// What is to stand in a new certificate.
struct CertificatePlan {
    struct Entry {
        const char* field; // "CN", "OU", ...
        std::string value; // UTF-8
    };
    struct Extension {
        const char* name; // or object identifier in numbers
        std::string value; // as in OpenSSL's configuration files: "critical,CA:FALSE"
    };

    std::vector<Entry> subject;
    std::vector<Extension> extensions; // key identifiers are added
    Time notBefore{};
    std::chrono::days lifetime{};
};

/// Makes a certificate for `key`, signed with SHA-256 by `issuerKey`. Without an issuer it is a
/// root, and the two keys are one. Throws CryptoError.
Certificate issueCertificate(const CertificatePlan& plan, const PrivateKey& key,
    const Certificate* issuer, const PrivateKey& issuerKey);

} // namespace keychain
