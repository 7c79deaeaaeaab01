#include "udif/Guid.h"

namespace udif {

namespace {

/// The SplitMix64 generator's step, which spreads a small seed over all bits.
uint64_t mixed(uint64_t& state)
{
    uint64_t value = state += 0x9E3779B97F4A7C15;
    value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9;
    value = (value ^ value >> 27) * 0x94D049BB133111EB;
    return value ^ value >> 31;
}

} // namespace

Guid Guid::derived(uint64_t seed)
{
    Guid guid;
    for (std::size_t half = 0; half < 2; ++half) {
        const uint64_t value = mixed(seed);
        for (std::size_t i = 0; i < 8; ++i)
            guid.stored[half * 8 + i] = static_cast<std::byte>(value >> 8 * i);
    }
    guid.stored[7] = (guid.stored[7] & std::byte{0x0F}) | std::byte{0x40}; // version 4
    guid.stored[8] = (guid.stored[8] & std::byte{0x3F}) | std::byte{0x80}; // this variant
    return guid;
}

std::string Guid::text() const
{
    constexpr std::array<int, 20> order{
        3, 2, 1, 0, -1, 5, 4, -1, 7, 6, -1, 8, 9, -1, 10, 11, 12, 13, 14, 15};
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const int index : order) {
        if (index < 0) {
            text += '-';
            continue;
        }
        const auto value = std::to_integer<std::size_t>(stored[static_cast<std::size_t>(index)]);
        text += digits[value >> 4];
        text += digits[value & 15];
    }
    return text;
}

} // namespace udif
