#pragma once

#include "lzfse/BlockHeader.h"
#include "lzfse/DecoderTable.h"
#include "lzfse/Limits.h"
#include "lzfse/Output.h"

#include <array>
#include <cstddef>
#include <span>

namespace lzfse {

/// Decodes blocks with entropy coding. One object serves many blocks, one after the other.
class BlockDecoder {
public:
    /// Both payloads, as long as the header says, with the header itself before them. Appends the
    /// header's number of bytes or throws FormatError.
    void decode(const BlockHeader& header, std::span<const std::byte> payloads, Output& out);

private:
    void decodeLiterals(const BlockHeader& header, std::span<const std::byte> payload);
    void decodeMatches(const BlockHeader& header, std::span<const std::byte> payload, Output& out);

    LiteralTable m_literalTable;
    ValueTable<LengthAlphabet> m_literalLengths, m_matchLengths;
    ValueTable<DistanceAlphabet> m_distances;
    std::array<std::byte, blockLiteralLimit + copySlack> m_literals{};
};

} // namespace lzfse
