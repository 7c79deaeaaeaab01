#include "FuzzInput.h"

#include "notary/Ticket.h"

// A notarization ticket, as a service hands it out or as it hangs on an image.
FUZZ_TARGET(ticket, input)
{
    fuzz::accepts<keychain::CryptoError>([&] {
        const auto ticket = notary::Ticket::read(input);
        for (const notary::TicketHash& hash : ticket.hashes)
            fuzz::insist(ticket.covers(hash), "a ticket covers its own hashes");
    });
}
