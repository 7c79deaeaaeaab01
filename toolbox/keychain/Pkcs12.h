#pragma once

#include "keychain/PrivateKey.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace keychain {

/// Keys and certificates in the order in which a file has them.
struct KeysAndCertificates {
    std::vector<PrivateKey> keys;
    std::vector<Certificate> certificates;
};

/// All that a PKCS#12 file (RFC 7292) holds; none when it is no such file. Throws
/// bytes::FormatError for a damaged one, WrongPassword, and CryptoError.
std::optional<KeysAndCertificates> readPkcs12(
    std::span<const std::byte> file, const std::string& password);

} // namespace keychain
