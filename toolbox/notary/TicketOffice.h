#pragma once

#include "keychain/TrustedRoots.h"
#include "notary/TicketAuthority.h"
#include "notary/TicketLookup.h"

namespace notary {

/// Who answers for a ticket.
enum class TicketIssuer { nobody, local, apple };

struct TicketOpinion {
    TicketIssuer issuer = TicketIssuer::nobody;
    std::string reason{}; // why nobody
};

/// Where code's tickets come from, and whether they are what they say. Tests may send the lookups
/// elsewhere by a URL in the file `service` beside the tickets; what comes from there must be
/// signed like any other ticket.
class TicketOffice {
public:
    /// Nothing is made in the state folder until there is something to keep. Borrows client and
    /// clock.
    TicketOffice(const std::filesystem::path& stateFolder, const HttpClient& client, Clock& clock);

    /// What `raw` is worth for code with these hashes: all of them must be in it. Apple's root is
    /// not part of tickets; where this host doesn't have it either, a ticket counts as Apple's when
    /// it is the very one that the public service has given out for this code before.
    TicketOpinion opinionOf(std::span<const std::byte> raw, std::span<const TicketHash> code) const;
    /// The ticket of signed `code`: from the public service if Apple's root is above the signer,
    /// else and after that from this host. Throws NetworkError and ServiceError when the service
    /// doesn't answer and there is none on this host.
    std::optional<std::vector<std::byte>> find(const codesign::StaticCode& code,
        const keychain::TrustedRoots& roots, const LookupPolicy& policy = {}) const;
    /// Whether a good ticket of signed `code` is stapled to it or kept on this host; asks nobody
    /// else.
    bool answersFor(const codesign::StaticCode& code) const;
    /// Whether `find` asks the public service for `code`.
    bool asksService(const codesign::StaticCode& code, const keychain::TrustedRoots& roots) const;

private:
    void remember(const TicketHash& hash, std::span<const std::byte> ticket) const;
    std::optional<TicketStore> store() const { return TicketStore::ifThere(m_state); }

    std::filesystem::path m_state;
    TicketLookup m_lookup;
};

} // namespace notary
