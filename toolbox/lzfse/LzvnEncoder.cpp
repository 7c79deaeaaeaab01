#include "lzfse/LzvnEncoder.h"

#include <algorithm>
#include <cassert>

namespace lzfse {

namespace {

constexpr std::size_t largestCount = 271; // of the codes with a byte behind them
constexpr std::size_t smallMatch = 3; // what the codes with a distance count from
constexpr std::size_t mediumMatch = 34;
constexpr uint32_t smallDistance = 0x600;
constexpr uint32_t mediumDistance = 0x4000;

} // namespace

LzvnEncoder::LzvnEncoder(std::vector<std::byte>& out)
    : m_out(out)
{ }

void LzvnEncoder::add(std::span<const std::byte> literals, std::size_t match, uint32_t distance)
{
    while (literals.size() > 3 || (match == 0 && !literals.empty())) {
        const std::size_t count = std::min(literals.size(), largestCount);
        putCount(0xE0, count);
        m_out.insert(m_out.end(), literals.begin(), literals.begin() + static_cast<long>(count));
        literals = literals.subspan(count);
    }
    if (match == 0)
        return;
    assert(match >= smallMatch && distance <= largestLzvnDistance);
    std::size_t rest = match - putMatch(literals.size(), match, distance);
    m_out.insert(m_out.end(), literals.begin(), literals.end());
    for (; rest > 0; rest -= std::min(rest, largestCount))
        putCount(0xF0, std::min(rest, largestCount));
}

std::size_t LzvnEncoder::putMatch(std::size_t literals, std::size_t match, uint32_t distance)
{
    // Higher counts would be other codes.
    const std::size_t count = std::min(match, 10 - 2 * literals);
    const std::size_t head = literals << 6 | (count - smallMatch) << 3;
    const bool isSame = distance == m_distance;
    m_distance = distance;
    if (isSame && literals == 0) {
        put(0xF0 + count);
    } else if (isSame) {
        put(head | 6);
    } else if (distance < smallDistance) {
        put(head | distance >> 8);
        put(distance);
    } else if (distance < mediumDistance && count < match && match <= mediumMatch) {
        const std::size_t more = match - smallMatch;
        const std::size_t word = std::size_t{distance} << 2 | (more & 3);
        put(0xA0 | literals << 3 | more >> 2);
        put(word);
        put(word >> 8);
        return match;
    } else {
        put(head | 7);
        put(distance);
        put(distance >> 8);
    }
    return count;
}

void LzvnEncoder::putCount(std::size_t code, std::size_t count)
{
    if (count < 16) {
        put(code | count);
    } else {
        put(code);
        put(count - 16);
    }
}

void LzvnEncoder::finish()
{
    m_out.push_back(std::byte{0x06});
    m_out.insert(m_out.end(), 7, std::byte{0});
}

} // namespace lzfse
