#pragma once

#include "keychain/Identity.h"
#include "keychain/TrustedRoots.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace keychain {

struct IdentityEntry {
    Identity identity;
    Validity validity = Validity::valid;
};

/// What a store holds, and one line for each entry in it that can't be used.
struct IdentityList {
    std::vector<IdentityEntry> entries; // by fingerprint
    std::vector<std::string> notes;
};

/// No identity answers to a name, or too many do. The text is that of the Mac's signing tool,
/// beginning with the name that was asked for.
class IdentityNotFound : public std::runtime_error {
public:
    enum class Case { unknown, ambiguous, wrongUsage };
    IdentityNotFound(Case which, const std::string& text)
        : std::runtime_error(text)
        , m_case(which)
    { }
    Case which() const { return m_case; }

private:
    Case m_case;
};

/// The user's signing identities: one owner-only folder, in which each identity is a certificate
/// (FINGERPRINT.pem), those above it (FINGERPRINT.chain) and its key (FINGERPRINT.key, PKCS#8).
/// Beside them lie the rehearsal roots (roots/), certificates that complete chains
/// (certificates/) and the fingerprints of what is revoked (revoked, one a line).
class IdentityStore {
public:
    /// Keeps them in `identities` below the state folder. Throws std::system_error when that can't
    /// be made or belongs to somebody else.
    explicit IdentityStore(const std::filesystem::path& stateFolder);

    const std::filesystem::path& folder() const { return m_folder; }

    IdentityList list() const;
    /// `query` is a fingerprint in hexadecimal of any case, or a part of the common name in any
    /// case; the whole name beats a part. Throws IdentityNotFound. The identity's validity is not
    /// looked at, but that its certificate is for signing code.
    Identity find(const std::string& query) const;

    /// False when it was there already; then nothing changes.
    bool add(const Identity& identity);
    bool addCertificate(const Certificate& certificate);
    /// False when there is none.
    bool remove(const std::string& fingerprint);
    std::vector<Certificate> certificates() const; // that belong to no identity

    void addRehearsalRoot(const Certificate& root);
    void revoke(const std::string& fingerprint);
    TrustedRoots trustedRoots() const;

private:
    std::filesystem::path m_folder;
};

} // namespace keychain
