#pragma once

#include "keychain/Certificate.h"

#include <memory>
#include <string>

namespace keychain {

/// A private key, RSA or elliptic. A value: copies share it.
class PrivateKey {
public:
    explicit PrivateKey(KeyOwner key);
    /// A new RSA key of 2048 bits, the size of a developer's certificate.
    static PrivateKey generate();
    /// A new key on the curve P-256.
    static PrivateKey generateElliptic();
    /// From what `pem` gives; throws bytes::FormatError.
    static PrivateKey fromPem(std::string_view text);

    /// PKCS#8, not encrypted: whoever stores it sees to its safety.
    std::string pem() const;
    bool fits(const Certificate& certificate) const;

    EVP_PKEY* get() const { return m_key.get(); }

private:
    std::shared_ptr<EVP_PKEY> m_key;
};

} // namespace keychain
