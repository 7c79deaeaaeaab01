#pragma once

#include "lzfse/MatchSink.h"

#include <vector>

namespace lzfse {

inline constexpr std::size_t largestLzvnDistance = 65'535;

/// Writes literals and matches as the byte codes of an LZVN block. Borrows `out`, to which it
/// appends the payload.
class LzvnEncoder final : public MatchSink {
public:
    explicit LzvnEncoder(std::vector<std::byte>& out);

    /// Matches have at least three bytes and distances of at most `largestLzvnDistance`.
    void add(std::span<const std::byte> literals, std::size_t match, uint32_t distance) override;
    /// Writes the end mark.
    void finish();

private:
    void put(std::size_t byte) { m_out.push_back(static_cast<std::byte>(byte)); }
    /// Up to three literals are announced, at least the start of the match; returns how much of it.
    std::size_t putMatch(std::size_t literals, std::size_t match, uint32_t distance);
    void putCount(std::size_t code, std::size_t count);

    std::vector<std::byte>& m_out;
    uint32_t m_distance = 0;
};

} // namespace lzfse
