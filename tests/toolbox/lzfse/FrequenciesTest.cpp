#include "Contents.h"

#include "bytes/FormatError.h"
#include "lzfse/Frequencies.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

namespace {

using namespace lzfse;

TEST(Frequencies, AddUpWhateverTheCounts)
{
    std::mt19937_64 random(1);
    for (const std::size_t states : {64U, 256U, 1024U})
        for (int round = 0; round < 2000; ++round) {
            std::vector<uint32_t> counts(states / 4);
            // From all alike to one that outweighs everything.
            const unsigned steepness = round % 20;
            for (uint32_t& count : counts)
                count = random() % 3 == 0
                    ? 0
                    : static_cast<uint32_t>(random() >> (44 + random() % (steepness + 1)));
            std::vector<uint16_t> frequencies(counts.size());
            normalize(counts, states, frequencies);
            ASSERT_EQ(std::accumulate(frequencies.begin(), frequencies.end(), 0U), states);
            for (std::size_t i = 0; i < counts.size(); ++i)
                ASSERT_TRUE(counts[i] == 0 || frequencies[i] > 0) << i;
        }
}

TEST(Frequencies, OfNothingGoToTheFirstSymbol)
{
    std::array<uint16_t, 20> frequencies{};
    normalize(std::array<uint32_t, 20>{}, 64, frequencies);
    EXPECT_EQ(frequencies[0], 64);
    EXPECT_EQ(std::accumulate(frequencies.begin(), frequencies.end(), 0), 64);
}

TEST(Frequencies, EveryValueIsPackedAndReadBack)
{
    Frequencies frequencies;
    uint16_t next = 0;
    // 0 to 1047, in three rounds of 360 values.
    for (int round = 0; round < 3; ++round) {
        frequencies.forEachTable([&](std::span<uint16_t> table) {
            for (uint16_t& value : table)
                value = std::min<uint16_t>(next++, 1047);
        });
        std::vector<std::byte> packed;
        writePackedFrequencies(frequencies, packed);
        EXPECT_EQ(readPackedFrequencies(packed), frequencies) << round;

        const std::span<const std::byte> all(packed);
        EXPECT_THROW(readPackedFrequencies(all.first(all.size() - 1)), bytes::FormatError);
        packed.push_back(std::byte{0});
        EXPECT_THROW(readPackedFrequencies(packed), bytes::FormatError);
    }
    EXPECT_EQ(readPackedFrequencies({}), Frequencies{});
}

} // namespace
