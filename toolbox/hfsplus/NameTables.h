#pragma once

#include <array>
#include <cstdint>

namespace hfsplus {

/// A code that HFS+ stores in parts. Sorted by code, without the Hangul syllables.
struct Decomposition {
    char16_t code;
    bool composes; // canonical composition leads back to `code`
    std::array<char16_t, 4> units; // zeros behind the last
};

/// Combining marks `first` to `last`, all of one combining class. Sorted.
struct CombiningRun {
    char16_t first, last;
    uint8_t combiningClass;
};

extern const std::array<Decomposition, 970> decompositions;
extern const std::array<CombiningRun, 167> combiningRuns;

} // namespace hfsplus
