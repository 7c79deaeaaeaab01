#pragma once

#include "keychain/Certificate.h"

#include <set>
#include <string>
#include <vector>

namespace keychain {

/// What a certificate chain is worth at some time.
enum class Trust {
    trusted,
    notTrusted, // leads to no trusted root, or a link of it is broken
    revoked,
    expired,
    notYetValid,
};

/// Where trust begins. Apple's root is known by its fingerprint and recognised when a chain brings
/// it along; this host's rehearsal roots are added. Nothing else is trusted.
class TrustedRoots {
public:
    enum class Kind { none, apple, rehearsal };

    void addRehearsalRoot(const Certificate& root);
    /// By fingerprint, as Certificate gives it; of any certificate in a chain.
    void revoke(const std::string& fingerprint) { m_revoked.insert(fingerprint); }

    Kind kindOf(const Certificate& root) const;
    bool trusts(const Certificate& root) const { return kindOf(root) != Kind::none; }
    bool isRevoked(const Certificate& certificate) const;
    const std::vector<Certificate>& rehearsalRoots() const { return m_rehearsalRoots; }

    /// `leaf` followed by its issuers as far as `others` and the rehearsal roots reach.
    std::vector<Certificate> chainOf(
        const Certificate& leaf, const std::vector<Certificate>& others) const;
    /// Of a chain as `chainOf` gives it: signatures, constraints, dates at `time`, the root and
    /// revocation. Key usage of the leaf is the caller's business.
    Trust trustOf(const std::vector<Certificate>& chain, Time time) const;

private:
    std::vector<Certificate> m_rehearsalRoots;
    std::set<std::string> m_revoked;
};

/// The current time.
Time now();

} // namespace keychain
