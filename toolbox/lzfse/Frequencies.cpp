#include "lzfse/Frequencies.h"

#include "bytes/FormatError.h"

#include <algorithm>
#include <bit>
#include <numeric>

namespace lzfse {

namespace {

/// A class of the prefix code: values from `first` are written as the mark and, above it, the
/// value's distance from `first`.
struct PrefixClass {
    uint32_t first, mark;
    unsigned markBits, valueBits;
};

constexpr std::array prefixClasses{
    PrefixClass{0, 0b0, 1, 1},
    PrefixClass{2, 0b01, 2, 1},
    PrefixClass{4, 0b011, 3, 2},
    PrefixClass{8, 0b0111, 4, 4},
    PrefixClass{24, 0b1111, 4, 10},
};

constexpr uint32_t lowBits(uint32_t value, unsigned count)
{
    return value & ((uint32_t{1} << count) - 1);
}

/// Bits from the lowest of the first byte on.
class PackedBits {
public:
    explicit PackedBits(std::span<const std::byte> raw)
        : m_raw(raw)
    { }

    uint16_t frequency()
    {
        while (m_count <= 24 && m_at < m_raw.size()) {
            m_bits |= static_cast<uint32_t>(m_raw[m_at++]) << m_count;
            m_count += 8;
        }
        const auto row = std::ranges::find_if(prefixClasses, [this](const PrefixClass& each) {
            return lowBits(m_bits, each.markBits) == each.mark;
        });
        const unsigned length = row->markBits + row->valueBits;
        if (length > m_count)
            throw bytes::FormatError("an LZFSE frequency table is cut off");
        const uint32_t value = row->first + lowBits(m_bits >> row->markBits, row->valueBits);
        m_bits >>= length;
        m_count -= length;
        return static_cast<uint16_t>(value);
    }

    bool atEnd() const { return m_at == m_raw.size() && m_count < 8 && m_bits == 0; }

private:
    std::span<const std::byte> m_raw;
    std::size_t m_at = 0;
    uint32_t m_bits = 0;
    unsigned m_count = 0;
};

void takeSurplus(std::span<uint16_t> frequencies, int64_t surplus)
{
    for (int shift = 3; surplus > 0; --shift)
        for (uint16_t& frequency : frequencies) {
            if (frequency <= 1)
                continue;
            const int64_t part = std::min<int64_t>((frequency - 1) >> std::max(shift, 0), surplus);
            frequency = static_cast<uint16_t>(frequency - part);
            surplus -= part;
        }
}

} // namespace

Frequencies readPackedFrequencies(std::span<const std::byte> packed)
{
    Frequencies frequencies;
    if (packed.empty())
        return frequencies;
    PackedBits in(packed);
    frequencies.forEachTable([&](std::span<uint16_t> table) {
        std::ranges::generate(table, [&] { return in.frequency(); });
    });
    if (!in.atEnd())
        throw bytes::FormatError("an LZFSE frequency table goes on behind its last value");
    return frequencies;
}

void writePackedFrequencies(const Frequencies& frequencies, std::vector<std::byte>& out)
{
    uint32_t bits = 0;
    unsigned count = 0;
    const auto write = [&](uint16_t frequency) {
        auto row = std::ranges::find_if(prefixClasses.rbegin(), prefixClasses.rend(),
            [&](const PrefixClass& each) { return each.first <= frequency; });
        bits |= (row->mark | (frequency - row->first) << row->markBits) << count;
        count += row->markBits + row->valueBits;
        for (; count >= 8; count -= 8, bits >>= 8)
            out.push_back(static_cast<std::byte>(bits));
    };
    frequencies.forEachTable(
        [&](std::span<const uint16_t> table) { std::ranges::for_each(table, write); });
    if (count > 0)
        out.push_back(static_cast<std::byte>(bits));
}

void normalize(
    std::span<const uint32_t> counts, std::size_t states, std::span<uint16_t> frequencies)
{
    std::ranges::fill(frequencies, uint16_t{0});
    const uint64_t total = std::accumulate(counts.begin(), counts.end(), uint64_t{0});
    if (total == 0) {
        frequencies[0] = static_cast<uint16_t>(states);
        return;
    }
    auto surplus = -static_cast<int64_t>(states);
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] == 0)
            continue;
        const uint64_t rounded = (counts[i] * states + total / 2) / total;
        frequencies[i] = static_cast<uint16_t>(std::max<uint64_t>(rounded, 1));
        surplus += frequencies[i];
    }
    // What rounding left over matters least to the most frequent symbol, unless it is too much.
    const auto largest = std::ranges::max_element(frequencies);
    if (surplus <= 0 || surplus < *largest / 4)
        *largest = static_cast<uint16_t>(*largest - surplus);
    else
        takeSurplus(frequencies, surplus);
}

} // namespace lzfse
