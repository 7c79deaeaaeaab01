#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace finder {

/// A four-character code. Ordered by its bytes, so upper case comes before lower.
struct FourCC {
    uint32_t value = 0;

    constexpr FourCC() = default;
    constexpr explicit FourCC(uint32_t stored)
        : value(stored)
    { }
    constexpr FourCC(const char (&text)[5])
    {
        for (int i = 0; i < 4; ++i)
            value = value << 8 | static_cast<unsigned char>(text[i]);
    }

    std::string text() const
    {
        std::string out;
        for (int shift = 24; shift >= 0; shift -= 8)
            out += static_cast<char>(value >> shift);
        return out;
    }

    friend constexpr auto operator<=>(const FourCC&, const FourCC&) = default;
};

} // namespace finder
