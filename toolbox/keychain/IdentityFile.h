#pragma once

#include "keychain/Identity.h"

#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace keychain {

/// The password opens nothing.
class WrongPassword : public std::runtime_error {
public:
    WrongPassword()
        : std::runtime_error("wrong password")
    { }
};

/// What a file of keys and certificates holds, its keys matched with their certificates.
struct IdentityFile {
    std::vector<Identity> identities;
    std::vector<Certificate> certificates; // that have no key in the file

    /// PKCS#12, PEM, or one certificate in DER. Old PKCS#12 files (RC2, triple DES) are read as
    /// well. Throws bytes::FormatError for anything else and for a file that would take minutes to
    /// decrypt, WrongPassword, and CryptoError for what the library doesn't know.
    static IdentityFile read(std::span<const std::byte> file, const std::string& password);
};

} // namespace keychain
