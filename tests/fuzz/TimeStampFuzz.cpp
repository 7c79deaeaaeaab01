#include "FuzzInput.h"

#include "SignedText.h"
#include "keychain/TimeStampProtocol.h"

using namespace keychain;

// What a service of the network answers, and the token inside a signature.
FUZZ_TARGET(time_stamp, input)
{
    static const TimeStampRequest request(std::vector<std::byte>(32));
    fuzz::accepts<TimeStampUnavailable>([&] { request.tokenOf(input); });
    fuzz::refusals = 0; // no seed can answer the request's random number

    fuzz::accepts([&] {
        const TokenFacts facts = readToken(input, fuzz::signedText(), {});
        if (facts.chain.empty())
            throw bytes::FormatError("no token");
        TrustedRoots roots;
        roots.addRehearsalRoot(facts.chain.back());
        readToken(input, fuzz::signedText(), roots);
    });
}
