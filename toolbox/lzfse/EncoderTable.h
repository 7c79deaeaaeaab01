#pragma once

#include "lzfse/PayloadWriter.h"
#include "lzfse/Symbols.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

namespace lzfse {

/// How a symbol moves a coder's state on: the mirror of what `forEachState` lays out.
struct SymbolStep {
    int32_t threshold = 0; // states from here on push a bit more
    int32_t longDelta = 0, shortDelta = 0;
    uint32_t bits = 0;
};

template <std::size_t symbols, std::size_t states>
class EncoderTable {
public:
    /// The frequencies add up to the number of states.
    explicit EncoderTable(std::span<const uint16_t> frequencies)
    {
        constexpr auto count = static_cast<int32_t>(states);
        int32_t before = 0;
        for (std::size_t symbol = 0; symbol < symbols; ++symbol) {
            const int32_t frequency = frequencies[symbol];
            if (frequency == 0)
                continue;
            const int bits = std::bit_width(static_cast<uint32_t>(states))
                - std::bit_width(static_cast<uint32_t>(frequency));
            SymbolStep& step = m_steps[symbol];
            step.bits = static_cast<uint32_t>(bits);
            step.threshold = (frequency << bits) - count;
            step.longDelta = before - frequency + (count >> bits);
            // A symbol that has all states pushes nothing, and never a bit less.
            step.shortDelta = bits == 0 ? 0 : before - frequency + (count >> (bits - 1));
            before += frequency;
        }
    }

    void push(PayloadWriter& out, std::size_t symbol, uint32_t& state) const
    {
        const SymbolStep& step = m_steps[symbol];
        const auto from = static_cast<int32_t>(state);
        const bool isLong = from >= step.threshold;
        const uint32_t bits = isLong ? step.bits : step.bits - 1;
        out.push(state, bits);
        state = static_cast<uint32_t>((isLong ? step.longDelta : step.shortDelta) + (from >> bits));
    }

private:
    std::array<SymbolStep, symbols> m_steps{};
};

} // namespace lzfse
