#pragma once

#include "keychain/Cms.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The two signed attributes that tie a signature to all code directories (Apple's published
/// Security sources).
namespace keychain {

constexpr const char* hashListAttribute = "1.2.840.113635.100.9.1"; // a property list
constexpr const char* hashValuesAttribute = "1.2.840.113635.100.9.2"; // one value for each hash

/// The property list of the hashes, each cut to 20 bytes.
std::string hashListOf(std::span<const CodeHash> codeHashes);
/// True when `list` has these hashes in this order and nothing else.
bool isHashListOf(std::string_view list, std::span<const CodeHash> codeHashes);
/// SEQUENCE { object identifier of the hash kind, OCTET STRING the whole hash }. None for a hash
/// kind without an identifier.
std::optional<std::vector<std::byte>> hashValueOf(const CodeHash& codeHash);

} // namespace keychain
