#pragma once

#include <openssl/x509.h>

namespace keychain {

/// How much work a file may ask for before its password is turned into keys. The file itself says
/// how often to repeat the hashing, and a hostile one would say two thousand million.
class DecryptionBudget {
public:
    /// Both throw bytes::FormatError when that is too much, with all that was asked for before.
    void spend(long iterations);
    /// The iterations that an encryption scheme (PKCS#5, PKCS#12) states.
    void spendFor(const X509_ALGOR* scheme);

private:
    long m_left = 20'000'000; // some seconds
};

} // namespace keychain
