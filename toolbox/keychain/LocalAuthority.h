#pragma once

#include "keychain/IdentityStore.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace keychain {

class PrivateFolder;

/// The rehearsal authority: issues signing identities and time stamps that have the form of the
/// real ones, for hosts without either. All its certificates say that they are local, and a Mac
/// trusts none of them. Its keys lie owner-only in `authority` beside the identities; they are made
/// on first use, and the root is registered in the store. The root's own key is not kept.
class LocalAuthority {
public:
    /// `store` is used only here. Throws std::system_error, CryptoError, and bytes::FormatError for
    /// an authority that was damaged.
    explicit LocalAuthority(IdentityStore& store);

    /// Throws std::invalid_argument for a name that is empty, too long or not plain text and for a
    /// team identifier that is not ten characters of A-Z and 0-9.
    static void check(const std::string& name, const std::string& team);
    /// A new identity "Developer ID Application: NAME (TEAM)" in `store`, after `check`.
    Identity createIdentity(
        IdentityStore& store, const std::string& name, const std::string& team) const;
    /// Answers a time-stamp request (RFC 3161) in DER with the whole response, also a refusal.
    /// States that it is `time`.
    std::vector<std::byte> timeStampResponse(
        std::span<const std::byte> request, Time time = now()) const;

    const Certificate& root() const { return m_root; }

private:
    explicit LocalAuthority(const PrivateFolder& files);

    Certificate m_root;
    Certificate m_issuer;
    PrivateKey m_issuerKey;
    Certificate m_stamper;
    PrivateKey m_stamperKey;
};

} // namespace keychain
