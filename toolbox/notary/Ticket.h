#pragma once

#include "codesign/StaticCode.h"
#include "keychain/Certificate.h"
#include "keychain/PrivateKey.h"

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace notary {

/// The hash by which tickets know code: that of its strongest code directory, cut to 20 bytes.
struct TicketHash {
    static TicketHash of(const codesign::EmbeddedSignature& signature);
    /// Of every slice, the one that a current Mac runs first; empty unless all are signed.
    static std::vector<TicketHash> allOf(const codesign::StaticCode& code);

    std::string hex() const; // of the hash alone
    std::string text() const; // "2/HEX": the kind of the hash and the hash

    bool isSha1() const { return type == static_cast<uint8_t>(codesign::HashType::sha1); }

    auto operator<=>(const TicketHash&) const = default;

    uint8_t type = 2; // as code directories number them
    std::array<std::byte, 20> value{};
};

/// A notarization ticket: somebody's word that code with these hashes was looked at. Little-endian,
/// as it lies in tickets that the public service has issued; the layout isn't published.
struct Ticket {
    /// Throws bytes::FormatError.
    static Ticket read(std::span<const std::byte> raw);
    /// Makes a new one of `hashes`, `flags` and `issued`, signed by the first certificate of
    /// `chain`, to which `key` belongs (P-256).
    std::vector<std::byte> sign(const keychain::PrivateKey& key) const;

    bool covers(const TicketHash& hash) const;

    std::vector<keychain::Certificate> chain{}; // the signer's first, the root usually missing
    std::vector<TicketHash> hashes{};
    uint32_t flags = 0;
    keychain::Time issued{};
    /// What was read is signed with the first certificate's key. Says nothing of who that is.
    bool isIntact = false;
};

} // namespace notary
