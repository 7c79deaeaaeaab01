#include "FuzzInput.h"

#include "lzfse/Decoder.h"
#include "lzfse/Encoder.h"

#include <algorithm>

// Decoded as a stream, and encoded as content that must come back.
FUZZ_TARGET(lzfse, input)
{
    std::vector<std::byte> content(1 << 16);
    fuzz::accepts([&] { lzfse::decode(input, content); });

    const std::vector<std::byte> stream = lzfse::Encoder().encode(input);
    std::vector<std::byte> again(input.size());
    fuzz::insist(lzfse::decode(stream, again) == input.size()
            && std::equal(again.begin(), again.end(), input.begin()),
        "what was encoded decodes to itself");
}
