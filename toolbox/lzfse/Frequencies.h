#pragma once

#include "lzfse/Symbols.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace lzfse {

/// How many states each symbol of a block has. Those of a kind sum up to its number of states, or
/// to zero where the block has no such symbol.
struct Frequencies {
    static constexpr std::size_t valueCount = 360;

    std::array<uint16_t, LengthAlphabet::symbolCount> literalLengths{};
    std::array<uint16_t, LengthAlphabet::symbolCount> matchLengths{};
    std::array<uint16_t, DistanceAlphabet::symbolCount> distances{};
    std::array<uint16_t, literalSymbols> literals{};

    /// Calls `each` with the four tables in their order in a file.
    template <typename Each>
    void forEachTable(Each each)
    {
        each(std::span(literalLengths));
        each(std::span(matchLengths));
        each(std::span(distances));
        each(std::span(literals));
    }
    template <typename Each>
    void forEachTable(Each each) const
    {
        each(std::span(literalLengths));
        each(std::span(matchLengths));
        each(std::span(distances));
        each(std::span(literals));
    }

    friend bool operator==(const Frequencies&, const Frequencies&) = default;
};

/// Reads all four tables, which must fill `packed`; without a byte all frequencies are zero.
/// Throws FormatError.
Frequencies readPackedFrequencies(std::span<const std::byte> packed);
/// Appends the packed tables.
void writePackedFrequencies(const Frequencies& frequencies, std::vector<std::byte>& out);

/// Scales `counts` to frequencies that sum up to `states`: at least one for every symbol that
/// occurs. Without any symbol the first one gets all states.
void normalize(
    std::span<const uint32_t> counts, std::size_t states, std::span<uint16_t> frequencies);

} // namespace lzfse
