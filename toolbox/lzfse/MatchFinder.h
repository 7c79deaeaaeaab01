#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace lzfse {

/// Bytes that were there before. The gain tells which of two matches saves more: about four times
/// the bits that it spares.
struct Match {
    std::size_t length = 0; // 0: there is none
    uint32_t distance = 0;
    int gain = 0;
};

/// Knows where four bytes occurred last. One object serves many contents, one after the other.
class MatchFinder {
public:
    /// Matches begin at least this far before the end of the content.
    static constexpr std::size_t reserve = 8;

    /// Forgets what was before. Borrows the content, whose length fits 31 bits.
    void begin(std::span<const std::byte> content);

    /// The most gainful match at `position`, which is then known too. Positions must rise; there
    /// must be `reserve` bytes behind each.
    Match find(std::size_t position, uint32_t previousDistance);
    /// Makes `position` known.
    void pass(std::size_t position);

private:
    static constexpr int hashBits = 14;
    static constexpr std::size_t ways = 4;
    static constexpr uint32_t nowhere = UINT32_MAX;

    /// The newest places of some values, newest first, and what is there. Measured on machine code:
    /// keeping the values too makes most visits cost one line of the cache; 14 bits fit the second
    /// level of the cache and lose 0.7 % against 15, which take 8 % longer. Two fit a line.
    struct alignas(32) Bucket {
        std::array<uint32_t, ways> positions, values;
    };

    uint32_t valueAt(std::size_t position) const;
    static std::size_t hash(uint32_t value) { return value * 2654435761U >> (32 - hashBits); }
    std::size_t matchLength(std::size_t position, std::size_t earlier) const;

    std::span<const std::byte> m_content;
    std::vector<Bucket> m_buckets = std::vector<Bucket>(std::size_t{1} << hashBits);
};

} // namespace lzfse
