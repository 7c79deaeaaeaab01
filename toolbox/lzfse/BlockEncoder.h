#pragma once

#include "lzfse/Limits.h"
#include "lzfse/MatchSink.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace lzfse {

struct BlockHeader;
struct Frequencies;
class PayloadWriter;

/// Turns literals and matches into blocks with entropy coding. Borrows `out`, to which it appends a
/// block whenever one is full.
class BlockEncoder final : public MatchSink {
public:
    explicit BlockEncoder(std::vector<std::byte>& out);

    /// Distances are at most `largestDistance`.
    void add(std::span<const std::byte> literals, std::size_t match, uint32_t distance) override;
    /// Writes what is left. Nothing may be added afterwards.
    void finish();

private:
    void addTriple(std::span<const std::byte> literals, std::size_t match, uint32_t distance);
    void writeBlock();
    Frequencies countSymbols() const;
    void encodeLiterals(BlockHeader& header, PayloadWriter& out) const;
    void encodeTriples(BlockHeader& header, PayloadWriter& out) const;

    std::vector<std::byte>& m_out;
    std::vector<std::byte> m_literals;
    std::vector<Triple> m_triples; // a distance of zero repeats the one before
    uint32_t m_distance = 0; // of the last triple of the block
    uint32_t m_rawBytes = 0; // of the block
};

} // namespace lzfse
