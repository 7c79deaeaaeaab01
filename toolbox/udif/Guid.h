#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace udif {

/// A GUID in the byte order of a partition table: the first three groups little-endian, the last
/// two as written (UEFI, appendix A).
struct Guid {
    std::array<std::byte, 16> stored{};

    /// From "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX"; the text must have that shape.
    static constexpr Guid of(std::string_view text);
    /// A valid random-looking (version 4) GUID that depends on `seed` alone, so that an image can
    /// be made twice alike.
    static Guid derived(uint64_t seed);

    /// Upper case.
    std::string text() const;
    bool isNull() const { return *this == Guid{}; }

    friend constexpr bool operator==(const Guid&, const Guid&) = default;
};

constexpr Guid Guid::of(std::string_view text)
{
    // Where the n-th byte of the text lies in a partition table.
    constexpr std::array<std::size_t, 16> place{
        3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
    const auto nibble = [](char digit) {
        return static_cast<unsigned>(digit <= '9' ? digit - '0' : (digit | 0x20) - 'a' + 10);
    };
    Guid guid;
    std::size_t count = 0;
    for (std::size_t i = 0; i + 1 < text.size() && count < place.size(); ++i) {
        if (text[i] == '-')
            continue;
        guid.stored[place[count++]] =
            static_cast<std::byte>(nibble(text[i]) << 4 | nibble(text[i + 1]));
        ++i;
    }
    return guid;
}

} // namespace udif
