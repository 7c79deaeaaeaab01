#include "Contents.h"

#include "bytes/ByteReader.h"
#include "lzfse/BlockHeader.h"
#include "lzfse/Encoder.h"
#include "lzfse/LzvnDecoder.h"
#include "lzfse/LzvnEncoder.h"
#include "lzfse/Symbols.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace testing_lzfse;
using lzfse::Encoder;

Bytes repeated(std::size_t count, char letter)
{
    return Bytes(count, static_cast<std::byte>(letter));
}

/// Noise, zeros, then the same noise with its start `distance` bytes after the first one's.
Bytes farMatch(std::size_t distance)
{
    const Bytes twice = noise(100, 1);
    return twice + Bytes(distance - twice.size()) + twice;
}

/// Many short matches, each after a few letters that never occurred in this order.
Bytes manyMatches()
{
    Bytes out = fromText("0123456789abcdef");
    for (uint64_t i = 0; i < 25'000; ++i)
        out = std::move(out) + noise(1, i) + fromText(i % 2 ? "012345" : "9abcdef");
    return out;
}

TEST(LzfseEncoder, GivesBackWhatItWasGiven)
{
    struct Row {
        const char* what;
        Bytes content;
        const char* kinds;
    };
    const Row rows[] = {
        {"nothing", {}, "$"},
        {"one byte", fromText("x"), "-$"},
        {"too short for a search", repeated(7, 'a'), "-$"},
        {"eight bytes in which a search finds nothing", repeated(8, 'a'), "-$"},
        {"a short run", repeated(100, 'a'), "n$"},
        {"a short text", words(600, 1), "n$"},
        {"short noise", noise(4095, 1), "-$"},
        {"the longest for LZVN", words(4095, 2), "n$"},
        {"a run in one LZVN block", repeated(4095, 'z'), "n$"},
        {"the shortest for entropy coding", words(4096, 3), "2$"},
        {"zeros", Bytes(std::size_t{1} << 20), "2$"},
        {"noise", noise(std::size_t{1} << 20, 2), "-$"},
        {"noise of few letters, without matches but in many blocks",
            [] {
                Bytes content = noise(200'000, 3);
                for (std::byte& value : content)
                    value &= std::byte{0x7F};
                return content;
            }(),
            "222222$"},
        {"more matches than a block holds", manyMatches(), "222$"},
        {"the longest match of one triple", repeated(5000, 'b') + repeated(2360, 'c'), "2$"},
        {"matches of very different lengths",
            words(3000, 4) + repeated(300'000, 'd') + words(3000, 4) + repeated(2361, 'e'), "2$"},
        {"the farthest match", farMatch(lzfse::largestDistance) + Bytes(20), nullptr},
        {"beyond the farthest match", farMatch(lzfse::largestDistance + 1) + Bytes(20), nullptr},
        {"text", words(1'000'000, 5), nullptr},
        {"machine code", machineCode(std::size_t{1} << 20), nullptr},
    };
    Encoder encoder;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const Bytes stream = encoder.encode(row.content);
        EXPECT_EQ(decoded(stream, row.content.size()), row.content);
        EXPECT_LE(stream.size(), row.content.size() + 12);
        if (row.kinds) {
            EXPECT_EQ(blockKinds(stream), row.kinds);
        }
        EXPECT_EQ(Encoder().encode(row.content), stream) << "depends on what came before";
    }
}

TEST(LzfseEncoder, EveryLengthAroundAWordComesBack)
{
    Encoder encoder;
    for (std::size_t length = 0; length < 300; ++length) {
        const Bytes content = words(length, 7);
        EXPECT_EQ(decoded(encoder.encode(content), length), content) << length;
        const Bytes longer = words(4096 + length, 8);
        EXPECT_EQ(decoded(encoder.encode(longer), longer.size()), longer) << longer.size();
    }
}

TEST(LzfseEncoder, FindsWhatThereIsToFind)
{
    struct Row {
        const char* what;
        Bytes content;
        double most; // of the content's size
    };
    const Row rows[] = {
        {"words in no order", words(1'000'000, 5), 0.205},
        {"a megabyte of zeros", Bytes(1'000'000), 0.002},
        {"noise that occurs twice", noise(50'000, 1) + noise(50'000, 1), 0.51},
        {"six bits in each byte",
            [] {
                Bytes content = noise(100'000, 3);
                for (std::byte& value : content)
                    value &= std::byte{0x3F};
                return content;
            }(),
            0.765},
    };
    for (const Row& row : rows)
        EXPECT_LE(static_cast<double>(Encoder().encode(row.content).size()),
            row.most * static_cast<double>(row.content.size()))
            << row.what;
    // One byte farther, and what is there a second time is literals again.
    const std::size_t near = Encoder().encode(farMatch(lzfse::largestDistance) + Bytes(20)).size();
    const std::size_t far =
        Encoder().encode(farMatch(lzfse::largestDistance + 1) + Bytes(20)).size();
    EXPECT_GT(far, near + 50);
}

TEST(LzvnEncoder, EveryShapeOfAMatchComesBack)
{
    const Bytes past = noise(70'000, 4);
    const Bytes fresh = noise(600, 5);
    for (const uint32_t distance : {1U, 7U, 0x5FFU, 0x600U, 0x3FFFU, 0x4000U, 0xFFFFU})
        for (const std::size_t literals : {0, 1, 2, 3, 4, 15, 16, 271, 272, 600})
            for (const std::size_t match : {3, 4, 10, 11, 25, 26, 34, 35, 281, 282, 1000}) {
                Bytes payload;
                lzfse::LzvnEncoder encoder(payload);
                encoder.add(past, 0, 0);
                Bytes expected = past;
                // Twice, so that the second one says "the same distance".
                for (int round = 0; round < 2; ++round) {
                    const std::span<const std::byte> letters = std::span(fresh).first(literals);
                    encoder.add(letters, match, distance);
                    expected.insert(expected.end(), letters.begin(), letters.end());
                    for (std::size_t i = 0; i < match; ++i)
                        expected.push_back(expected[expected.size() - distance]);
                }
                encoder.finish();
                Bytes content(expected.size());
                lzfse::Output out(content);
                ASSERT_NO_THROW(lzfse::decodeLzvn(payload, expected.size(), out))
                    << distance << ' ' << literals << ' ' << match;
                ASSERT_EQ(content, expected) << distance << ' ' << literals << ' ' << match;
            }
}

} // namespace
