#pragma once

#include "lzfse/Symbols.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

namespace lzfse {

/// What a state says when it is left: the symbol, how many bits are pulled for the next state and
/// what is added to them.
struct StateStep {
    uint8_t symbol = 0;
    uint8_t bits = 0;
    int16_t delta = 0;
};

/// The same for symbols with extra bits; these lie below the bits for the next state and are pulled
/// with them.
struct ValueStep {
    uint8_t bits = 0; // both together
    uint8_t extraBits = 0;
    int16_t delta = 0;
    uint32_t base = 0;
};

/// Calls `each` with the symbol, the number of bits and the delta of every state, in the order of
/// the states. The frequencies add up to their number, a power of two. Each symbol has as many
/// states as its frequency says; the first ones of them pull a bit more than the others.
template <typename Each>
void forEachState(std::span<const uint16_t> frequencies, std::size_t states, Each each)
{
    const auto count = static_cast<int32_t>(states);
    for (std::size_t symbol = 0; symbol < frequencies.size(); ++symbol) {
        const int32_t frequency = frequencies[symbol];
        if (frequency == 0)
            continue;
        const int bits = std::bit_width(static_cast<uint32_t>(states))
            - std::bit_width(static_cast<uint32_t>(frequency));
        const int32_t longer = (2 * count >> bits) - frequency;
        for (int32_t i = 0; i < longer && i < frequency; ++i)
            each(symbol, bits, ((frequency + i) << bits) - count);
        for (int32_t i = longer; i < frequency; ++i)
            each(symbol, bits - 1, (i - longer) << (bits - 1));
    }
}

using LiteralTable = std::array<StateStep, literalStates>;
template <typename OfKind>
using ValueTable = std::array<ValueStep, OfKind::stateCount>;

inline void fillTable(std::span<const uint16_t> frequencies, LiteralTable& table)
{
    auto step = table.begin();
    forEachState(frequencies, table.size(), [&](std::size_t symbol, int bits, int32_t delta) {
        *step++ = {
            static_cast<uint8_t>(symbol), static_cast<uint8_t>(bits), static_cast<int16_t>(delta)};
    });
}

template <typename OfKind>
void fillTable(
    std::span<const uint16_t> frequencies, const OfKind& alphabet, ValueTable<OfKind>& table)
{
    auto step = table.begin();
    forEachState(frequencies, table.size(), [&](std::size_t symbol, int bits, int32_t delta) {
        const uint8_t extra = alphabet.extraBits[symbol];
        *step++ = {static_cast<uint8_t>(bits + extra), extra, static_cast<int16_t>(delta),
            alphabet.base[symbol]};
    });
}

} // namespace lzfse
