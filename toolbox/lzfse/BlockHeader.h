#pragma once

#include "bytes/ByteReader.h"
#include "lzfse/Frequencies.h"

namespace lzfse {

/// The head of a block with entropy coding, in whichever way it is written.
struct BlockHeader {
    uint32_t rawBytes = 0; // what the block decodes to
    uint32_t literalCount = 0; // a multiple of four
    uint32_t matchCount = 0;
    uint32_t literalPayloadBytes = 0;
    uint32_t lmdPayloadBytes = 0;
    int literalBits = 0; // -7 to 0: how many bits of the payload's last byte are not used, negative
    int lmdBits = 0;
    std::array<uint16_t, 4> literalStates{};
    uint16_t literalLengthState = 0;
    uint16_t matchLengthState = 0;
    uint16_t distanceState = 0;
    Frequencies frequencies{};

    friend bool operator==(const BlockHeader&, const BlockHeader&) = default;
};

/// Both begin with the magic, end before the payloads and check every count and state against the
/// format's limits. They throw FormatError.
BlockHeader readPackedHeader(bytes::ByteReader& in);
BlockHeader readPlainHeader(bytes::ByteReader& in);

/// Appends a packed header.
void writePackedHeader(const BlockHeader& header, std::vector<std::byte>& out);

} // namespace lzfse
