#pragma once

#include "bytes/FormatError.h"

#include <gtest/gtest.h>
#include <span>
#include <vector>

/// Calls `read` with every truncation of `raw` and with every single byte flipped in three ways.
/// It must return or throw FormatError. Returns how many of the damaged ones were refused. A
/// `step` leaves places out where reading takes long.
template <typename Read>
std::size_t readDamaged(const std::vector<std::byte>& raw, Read read, std::size_t step = 1)
{
    std::size_t refused = 0;
    const auto attempt = [&](std::span<const std::byte> damaged) {
        try {
            read(damaged);
        } catch (const bytes::FormatError&) {
            ++refused;
        }
    };
    // Copies of the exact size, so that a sanitizer sees a read past the end.
    for (std::size_t length = 0; length < raw.size(); length += step) {
        const std::vector<std::byte> cut(
            raw.begin(), raw.begin() + static_cast<std::ptrdiff_t>(length));
        attempt(cut);
    }
    for (std::size_t at = 0; at < raw.size(); at += step)
        for (const unsigned flip : {0x01u, 0x80u, 0xFFu}) {
            auto damaged = raw;
            damaged[at] ^= static_cast<std::byte>(flip);
            attempt(damaged);
        }
    return refused;
}
