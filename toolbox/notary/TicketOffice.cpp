#include "notary/TicketOffice.h"

#include "bytes/FormatError.h"
#include "codesign/CodeSubject.h"
#include "keychain/IdentityStore.h"
#include "notary/ServiceError.h"
#include "notary/Stapler.h"
#include "volumes/StateFolder.h"

#include <algorithm>
#include <system_error>

namespace notary {

using keychain::Certificate;
using keychain::Trust;

namespace {

// Apple Root CA - G3, and what marks those below it that sign tickets.
constexpr const char* appleTicketRoot = "B52CB02FD567E0359FE8FA4D4C41037970FE01B0";
constexpr const char* appleTicketRootName = "Apple Root CA - G3";
constexpr const char* ticketSignerMark = "1.2.840.113635.100.6.1.30";
constexpr const char* ticketIssuerMark = "1.2.840.113635.100.6.2.17";

constexpr const char* serviceFile = "service";

std::string serviceFor(const std::filesystem::path& stateFolder)
{
    const auto store = TicketStore::ifThere(stateFolder);
    if (!store || !store->folder().has(serviceFile))
        return TicketLookup::publicService;
    std::string url = store->folder().read(serviceFile);
    url.erase(url.find_last_not_of(" \n") + 1);
    return url;
}

bool hasAppleMarks(const std::vector<Certificate>& chain)
{
    return chain.size() >= 2 && chain[0].hasExtensionNamed(ticketSignerMark)
        && chain[1].hasExtensionNamed(ticketIssuerMark);
}

/// The root by which Apple signs tickets, if the user has added it to the others.
std::optional<Certificate> knownAppleRoot(const std::filesystem::path& stateFolder)
{
    for (const Certificate& one : keychain::IdentityStore(stateFolder).certificates()) {
        if (one.fingerprint() == appleTicketRoot)
            return one;
    }
    return std::nullopt;
}

/// Whether `chain` reaches `root`, with all that belongs to it.
bool leadsTo(const Certificate& root, const std::vector<Certificate>& chain, keychain::Time time)
{
    keychain::TrustedRoots roots;
    roots.addRehearsalRoot(root);
    const auto whole = roots.chainOf(chain.front(), chain);
    return whole.back() == root && roots.trustOf(whole, time) == Trust::trusted;
}

} // namespace

TicketOffice::TicketOffice(
    const std::filesystem::path& stateFolder, const HttpClient& client, Clock& clock)
    : m_state(stateFolder)
    , m_lookup(client, clock, serviceFor(stateFolder))
{ }

TicketOpinion TicketOffice::opinionOf(
    std::span<const std::byte> raw, std::span<const TicketHash> code) const
{
    const auto nobody = [](std::string reason) {
        return TicketOpinion{TicketIssuer::nobody, std::move(reason)};
    };
    Ticket ticket;
    try {
        ticket = Ticket::read(raw);
    } catch (const bytes::FormatError& error) {
        return nobody(error.what());
    }
    if (!ticket.isIntact)
        return nobody("the ticket was modified");
    if (code.empty()
        || !std::ranges::all_of(code, [&](const TicketHash& one) { return ticket.covers(one); }))
        return nobody("the ticket is about other code");

    const auto kept = store();
    const auto localRoot = kept ? TicketAuthority::rootIn(*kept) : std::nullopt;
    if (localRoot && leadsTo(*localRoot, ticket.chain, ticket.issued))
        return {TicketIssuer::local};
    if (!hasAppleMarks(ticket.chain))
        return nobody("nobody that this host knows has signed the ticket");
    if (const auto appleRoot = kept ? knownAppleRoot(m_state) : std::nullopt) {
        if (leadsTo(*appleRoot, ticket.chain, ticket.issued))
            return {TicketIssuer::apple};
        return nobody("Apple has not signed the ticket");
    }
    const auto givenOut = kept ? kept->find(code.front()) : std::nullopt;
    if (givenOut && std::ranges::equal(*givenOut, raw))
        return {TicketIssuer::apple};
    return nobody(std::string("the certificate \"") + appleTicketRootName
        + "\" is not on this host, so nobody answers for the ticket");
}

bool TicketOffice::answersFor(const codesign::StaticCode& code) const
{
    const auto hashes = TicketHash::allOf(code);
    const auto isGood = [&](const std::optional<std::vector<std::byte>>& ticket) {
        return ticket && opinionOf(*ticket, hashes).issuer != TicketIssuer::nobody;
    };
    const auto kept = store();
    if (kept && !hashes.empty() && isGood(kept->find(hashes.front())))
        return true;
    try {
        return isGood(stapledTicket(code));
    } catch (const bytes::FormatError&) {
        return false; // what lies there is no ticket
    }
}

bool TicketOffice::asksService(
    const codesign::StaticCode& code, const keychain::TrustedRoots& roots) const
{
    if (!m_lookup.isPublic())
        return true;
    const auto signer = signerOf(*code.parts.front().signature, roots);
    return signer && !signer->chain.empty()
        && roots.kindOf(signer->chain.back()) == keychain::TrustedRoots::Kind::apple;
}

void TicketOffice::remember(const TicketHash& hash, std::span<const std::byte> ticket) const
{
    try {
        TicketStore(volumes::StateFolder(m_state).root()).put(hash, ticket);
    } catch (const std::system_error&) {
        // A host that keeps nothing asks again the next time.
    }
}

std::optional<std::vector<std::byte>> TicketOffice::find(const codesign::StaticCode& code,
    const keychain::TrustedRoots& roots, const LookupPolicy& policy) const
{
    const TicketHash hash = TicketHash::of(*code.parts.front().signature);
    const auto kept = store();
    auto known = kept ? kept->find(hash) : std::nullopt;
    if (!asksService(code, roots))
        return known;
    try {
        // What this host knows already needs no patience.
        if (auto found = m_lookup.find(hash, known ? LookupPolicy() : policy)) {
            if (m_lookup.isPublic())
                remember(hash, *found);
            return found;
        }
    } catch (const NetworkError&) {
        if (!known)
            throw;
    } catch (const ServiceError&) {
        if (!known)
            throw;
    }
    return known;
}

} // namespace notary
