#pragma once

#include "notary/TicketStore.h"

namespace notary {

/// What every report says that rests on the local authority.
inline constexpr const char* localNote = "note=local stand-in authority, not Apple";

/// The local authority's ticket office: issues tickets that have the form of the public service's,
/// for hosts without it. Its certificates say what they are, and no Mac trusts them. Its keys lie
/// owner-only beside the tickets and are made on first use; the root's own key is not kept.
class TicketAuthority {
public:
    /// Throws std::system_error, keychain::CryptoError, and bytes::FormatError for an authority
    /// that was damaged.
    explicit TicketAuthority(const TicketStore& store);
    /// The root of `store`'s authority; none when there is no authority yet.
    static std::optional<keychain::Certificate> rootIn(const TicketStore& store);

    /// One ticket for all `hashes`, kept in `store` under each.
    std::vector<std::byte> issue(const TicketStore& store, std::vector<TicketHash> hashes) const;

private:
    explicit TicketAuthority(const keychain::PrivateFolder& files);

    std::vector<keychain::Certificate> m_chain; // the signer's, the root
    keychain::PrivateKey m_key;
};

} // namespace notary
