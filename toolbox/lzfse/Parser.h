#pragma once

#include "lzfse/MatchFinder.h"

#include <cstddef>
#include <span>

namespace lzfse {

class MatchSink;

/// Cuts contents into literals and matches. A match gives way to one that begins a byte later and
/// gains more. One object serves many contents, one after the other.
class Parser {
public:
    /// `content` has a length that fits 31 bits.
    void parse(std::span<const std::byte> content, MatchSink& sink);

private:
    struct Place {
        Match match{};
        std::size_t start = 0;
        std::size_t searched = 0; // the last position that the finder knows
    };

    Place better(Place place, std::size_t end, uint32_t previousDistance);

    MatchFinder m_finder;
};

} // namespace lzfse
