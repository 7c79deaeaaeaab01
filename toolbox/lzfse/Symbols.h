#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

/// How literal counts (L), match lengths (M) and distances (D) become symbols: a symbol stands for
/// a range of values, and plain bits that follow it say which of them is meant.
namespace lzfse {

/// A kind of symbol: `symbols` of them, coded with `states` states.
template <std::size_t symbols, std::size_t states>
struct Alphabet {
    static constexpr std::size_t symbolCount = symbols;
    static constexpr std::size_t stateCount = states;

    std::array<uint8_t, symbols> extraBits{};
    std::array<uint32_t, symbols> base{};

    /// Each symbol's range begins where the one before ends.
    constexpr void deriveBases()
    {
        for (std::size_t i = 1; i < symbols; ++i)
            base[i] = base[i - 1] + (uint32_t{1} << extraBits[i - 1]);
    }
    constexpr uint32_t largest() const
    {
        return base.back() + (uint32_t{1} << extraBits.back()) - 1;
    }
};

using LengthAlphabet = Alphabet<20, 64>;
using DistanceAlphabet = Alphabet<64, 256>;
inline constexpr std::size_t literalSymbols = 256;
inline constexpr std::size_t literalStates = 1024;

constexpr LengthAlphabet lengthAlphabet(std::array<uint8_t, 4> lastExtraBits)
{
    LengthAlphabet alphabet;
    for (std::size_t i = 0; i < lastExtraBits.size(); ++i)
        alphabet.extraBits[16 + i] = lastExtraBits[i];
    alphabet.deriveBases();
    return alphabet;
}

constexpr DistanceAlphabet distanceAlphabet()
{
    DistanceAlphabet alphabet;
    for (std::size_t i = 0; i < alphabet.symbolCount; ++i)
        alphabet.extraBits[i] = static_cast<uint8_t>(i / 4);
    alphabet.deriveBases();
    return alphabet;
}

inline constexpr LengthAlphabet literalLengths = lengthAlphabet({2, 3, 5, 8});
inline constexpr LengthAlphabet matchLengths = lengthAlphabet({3, 5, 8, 11});
inline constexpr DistanceAlphabet distances = distanceAlphabet();

inline constexpr uint32_t largestLiteralLength = literalLengths.largest();
inline constexpr uint32_t largestMatchLength = matchLengths.largest();
inline constexpr uint32_t largestDistance = distances.largest();
static_assert(
    largestLiteralLength == 315 && largestMatchLength == 2359 && largestDistance == 262'139);

/// The distance symbol in whose range `distance` lies: four symbols for each power of two.
constexpr std::size_t distanceSymbol(uint32_t distance)
{
    const auto group = static_cast<std::size_t>(std::bit_width(distance + 4)) - 3;
    return 4 * group + ((distance + 4) >> group) - 4;
}
static_assert(distanceSymbol(0) == 0 && distanceSymbol(11) == 7 && distanceSymbol(12) == 8
    && distanceSymbol(largestDistance) == 63);

} // namespace lzfse
