#pragma once

#include "notary/Clock.h"
#include "notary/HttpClient.h"
#include "notary/Ticket.h"

#include <optional>

namespace notary {

/// How long to look for a ticket that may not be published yet.
struct LookupPolicy {
    int tries = 1; // while the service says that there is none
    std::chrono::seconds firstWait{2}; // doubled each time
    std::chrono::seconds longestWait{30};
};

/// For a ticket that was issued a moment ago.
inline constexpr LookupPolicy justIssued{.tries = 7};

/// The public service's lookup of tickets, which anybody may ask.
class TicketLookup {
public:
    static constexpr const char* publicService = "https://api.apple-cloudkit.com";

    /// Borrows client and clock.
    TicketLookup(const HttpClient& client, Clock& clock, std::string service = publicService)
        : m_client(client)
        , m_clock(clock)
        , m_service(std::move(service))
    { }

    bool isPublic() const { return m_service == publicService; }
    /// None when the service has none. Faults of the network and of the service are waited out for
    /// a while, too, if the policy has more than one try. Throws NetworkError and ServiceError.
    std::optional<std::vector<std::byte>> find(
        const TicketHash& hash, const LookupPolicy& policy = {}) const;

private:
    const HttpClient& m_client;
    Clock& m_clock;
    std::string m_service;
};

} // namespace notary
