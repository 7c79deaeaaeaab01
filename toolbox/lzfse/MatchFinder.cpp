#include "lzfse/MatchFinder.h"

#include "bytes/StoredInteger.h"
#include "lzfse/Symbols.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>

namespace lzfse {

namespace {

/// A literal costs about as much as four bits of a distance.
constexpr int literalCost = 4;
/// From here on length alone decides.
constexpr std::size_t longMatch = 100;

int gainOf(std::size_t length, uint32_t distance)
{
    return static_cast<int>(std::min(length, longMatch)) * literalCost
        - static_cast<int>(std::bit_width(distance));
}

/// Moves the values on by one, the last one out. Done in halves, since a processor waits for what
/// was stored in smaller pieces than it is loaded: moving single values takes twice as long.
void pushFront(std::array<uint32_t, 4>& values, uint32_t newest)
{
    static_assert(std::endian::native == std::endian::little);
    std::array<uint64_t, 2> halves{};
    std::memcpy(halves.data(), values.data(), sizeof halves);
    halves[1] = halves[1] << 32 | halves[0] >> 32;
    halves[0] = halves[0] << 32 | newest;
    std::memcpy(values.data(), halves.data(), sizeof halves);
}

} // namespace

void MatchFinder::begin(std::span<const std::byte> content)
{
    assert(content.size() <= INT32_MAX);
    m_content = content;
    std::memset(m_buckets.data(), 0xFF, m_buckets.size() * sizeof(Bucket)); // all nowhere
}

Match MatchFinder::find(std::size_t position, uint32_t previousDistance)
{
    const uint32_t value = valueAt(position);
    Match best;
    if (previousDistance != 0 && previousDistance <= position
        && valueAt(position - previousDistance) == value) {
        // Costs next to nothing to say.
        const std::size_t length = matchLength(position, position - previousDistance);
        best = {length, previousDistance, gainOf(length, 0)};
    }
    Bucket& bucket = m_buckets[hash(value)];
    for (std::size_t way = 0; way < ways; ++way) {
        const uint32_t earlier = bucket.positions[way];
        if (bucket.values[way] != value || earlier == nowhere
            || position - earlier > largestDistance)
            continue;
        // Must be longer than the best one, which is nearer.
        if (position + best.length < m_content.size()
            && m_content[earlier + best.length] != m_content[position + best.length])
            continue;
        const std::size_t length = matchLength(position, earlier);
        const auto distance = static_cast<uint32_t>(position - earlier);
        if (const int gain = gainOf(length, distance); gain > best.gain)
            best = {length, distance, gain};
    }
    pushFront(bucket.positions, static_cast<uint32_t>(position));
    pushFront(bucket.values, value);
    return best;
}

void MatchFinder::pass(std::size_t position)
{
    const uint32_t value = valueAt(position);
    Bucket& bucket = m_buckets[hash(value)];
    pushFront(bucket.positions, static_cast<uint32_t>(position));
    pushFront(bucket.values, value);
}

uint32_t MatchFinder::valueAt(std::size_t position) const
{
    uint32_t value = 0;
    std::memcpy(&value, m_content.data() + position, sizeof value);
    return value;
}

std::size_t MatchFinder::matchLength(std::size_t position, std::size_t earlier) const
{
    const std::byte* const data = m_content.data();
    const std::size_t size = m_content.size();
    std::size_t at = position;
    for (; size - at >= sizeof(uint64_t); at += sizeof(uint64_t)) {
        bytes::le64 here, there;
        std::memcpy(&here, data + at, sizeof here);
        std::memcpy(&there, data + earlier + (at - position), sizeof there);
        if (const uint64_t differs = here.value() ^ there.value(); differs != 0)
            return at - position + static_cast<std::size_t>(std::countr_zero(differs)) / 8;
    }
    while (at < size && data[at] == data[earlier + (at - position)])
        ++at;
    return at - position;
}

} // namespace lzfse
