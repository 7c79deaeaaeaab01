#include "Contents.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"
#include "bytes/FormatError.h"
#include "lzfse/BlockHeader.h"
#include "lzfse/Decoder.h"
#include "lzfse/Encoder.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace testing_lzfse;

const Bytes endMark = fromText("bvx$");

Bytes stored(const Bytes& content)
{
    bytes::ByteWriter out;
    out.text("bvx-");
    out.u32le(static_cast<uint32_t>(content.size()));
    out.raw(content);
    return out.take();
}

/// With the end mark that every payload has.
Bytes lzvn(uint32_t rawBytes, std::string_view codes)
{
    const Bytes payload = fromHex(codes) + fromHex("06 00*7");
    bytes::ByteWriter out;
    out.text("bvxn");
    out.u32le(rawBytes);
    out.u32le(static_cast<uint32_t>(payload.size()));
    out.raw(payload);
    return out.take();
}

/// One block with entropy coding, taken apart.
struct Block {
    lzfse::BlockHeader header;
    Bytes payloads;

    static Block of(const Bytes& content)
    {
        const Bytes stream = lzfse::Encoder().encode(content);
        EXPECT_EQ(blockKinds(stream), "2$");
        bytes::ByteReader in(stream);
        Block block{lzfse::readPackedHeader(in), {}};
        const auto rest = in.take(in.remaining() - endMark.size());
        block.payloads.assign(rest.begin(), rest.end());
        return block;
    }

    Bytes packed() const
    {
        Bytes out;
        lzfse::writePackedHeader(header, out);
        return out + payloads;
    }

    /// With its frequencies in full, as no encoder writes it.
    Bytes plain() const
    {
        bytes::ByteWriter out;
        out.text("bvx1");
        for (const std::size_t value : {std::size_t{header.rawBytes}, payloads.size(),
                 std::size_t{header.literalCount}, std::size_t{header.matchCount},
                 std::size_t{header.literalPayloadBytes}, std::size_t{header.lmdPayloadBytes}})
            out.u32le(static_cast<uint32_t>(value));
        out.u32le(static_cast<uint32_t>(header.literalBits));
        for (const uint16_t state : header.literalStates)
            out.u16le(state);
        out.u32le(static_cast<uint32_t>(header.lmdBits));
        for (const uint16_t state :
            {header.literalLengthState, header.matchLengthState, header.distanceState})
            out.u16le(state);
        header.frequencies.forEachTable([&](std::span<const uint16_t> table) {
            for (const uint16_t value : table)
                out.u16le(value);
        });
        out.zeros(2);
        out.raw(payloads);
        return out.take();
    }
};

TEST(LzfseDecoder, ReadsStreamsOfOthers)
{
    struct Row {
        const char* what;
        const char* stream;
        Bytes content;
    };
    const Row rows[] = {
        {"a run, LZVN", "6276786e 64000000 10000000 680161f0 49e26161 06000000 00000000 62767824",
            Bytes(100, std::byte{'a'})},
        {"a repeated word, LZVN",
            "6276786e 0d000000 10000000 c8036162 63f5e164 06000000 00000000 62767824",
            fromText("abcabcabcabcd")},
        {"a run, entropy coding",
            "62767832 88130000 04000000 00040070 00*5 0e0040850000 0023d0000c 8fc02187"
            "0000000087000000 001c3e028fcaa3 00*40 3cfa 00*48 e00dff87ff03 62767824",
            Bytes(5000, std::byte{'a'})},
    };
    for (const Row& row : rows)
        EXPECT_EQ(decoded(fromHex(row.stream), row.content.size()), row.content) << row.what;
}

TEST(LzfseDecoder, ReadsEveryCodeOfLzvn)
{
    struct Row {
        const char* what;
        const char* codes;
        std::string content;
    };
    const Row rows[] = {
        {"small literal, small distance, small match", "e3616263 0003 f2", "abcabcab"},
        {"literals with the match", "c803616263", "abcabca"},
        {"previous distance", "e26162 0002 46 78", "ababaxaxa"},
        {"large distance", "e26162 0f0200", "ababab"},
        {"medium distance", "e26162 b0 0a00 7879", "abxyxyxyx"},
        {"large literal", "e001 6162636465666768696a6b6c6d6e6f7071", "abcdefghijklmnopq"},
        {"large match", "e161 0001 f003", std::string(1 + 3 + 19, 'a')},
        {"nothing at all", "0e16 e161 0e", "a"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const auto length = static_cast<uint32_t>(row.content.size());
        try {
            EXPECT_EQ(decoded(lzvn(length, row.codes) + endMark, length), fromText(row.content));
        } catch (const bytes::FormatError& error) {
            ADD_FAILURE() << error.what();
        }
    }
}

TEST(LzfseDecoder, MatchesReachBackOverBlocksOfEveryKind)
{
    const Bytes text = words(4096, 1);
    const Block block = Block::of(text);
    const Bytes start = fromText("some");
    const Bytes stream =
        stored(start) + block.plain() + lzvn(4, "0f 0410") + block.packed() + endMark;
    const Bytes expected = start + text + start + text;
    EXPECT_EQ(decoded(stream, expected.size()), expected);
}

TEST(LzfseDecoder, RefusesWhatBreaksTheFormat)
{
    const Bytes text = words(4096, 1);
    const Block good = Block::of(text);
    ASSERT_EQ(decoded(good.packed() + endMark, 4096), text);
    const auto changed = [&](auto change) {
        Block block = good;
        change(block.header);
        return block;
    };
    struct Row {
        const char* what;
        Bytes stream;
        const char* reason;
    };
    std::vector<Row> rows = {
        {"an unknown magic", fromText("bvx3") + endMark, "begins like this"},
        {"bytes behind the end", endMark, "behind its end"},
        {"more than the reader wants", stored(Bytes(5000)) + endMark, "more than it should"},
        {"a stored block that is cut off", fromText("bvx-\x09"), "expected"},
        {"LZVN: an undefined code", lzvn(1, "e161 1e"), "without meaning"},
        {"LZVN: an undefined code of the seventies", lzvn(1, "e161 70"), "without meaning"},
        {"LZVN: an undefined code above", lzvn(1, "e161 d0"), "without meaning"},
        {"LZVN: a match before any distance", lzvn(2, "e161 f1"), "before the start"},
        {"LZVN: a match from before the start", lzvn(4, "e161 0002"), "before the start"},
        {"LZVN: a distance of zero", lzvn(4, "e161 070000"), "before the start"},
        {"LZVN: fewer bytes than it says", lzvn(2, "e161"), "as many bytes"},
        {"LZVN: more bytes than it says", lzvn(1, "e26162"), "as many bytes"},
        {"LZVN: literals that are cut off", lzvn(15, "ef61"), "expected"},
        {"LZVN: codes behind the end", lzvn(1, "e161 06 00*7"), "behind its end"},
        {"fewer bytes than the block says",
            changed([](auto& header) { --header.rawBytes; }).packed(), "as many bytes"},
        {"more bytes than the block says",
            changed([](auto& header) { ++header.rawBytes; }).packed(), "as many bytes"},
        {"literals that aren't a multiple of four",
            changed([](auto& header) { ++header.literalCount; }).packed(), "more literals"},
        {"too many literals", changed([](auto& header) { header.literalCount = 40'004; }).packed(),
            "more literals"},
        {"too many matches", changed([](auto& header) { header.matchCount = 10'001; }).packed(),
            "more literals or matches"},
        {"more literals than the payload holds",
            changed([](auto& header) { header.literalCount = 40'000; }).packed(), "too short"},
        {"more matches than the payload holds",
            changed([](auto& header) { header.matchCount = 10'000; }).packed(), ""},
        {"literals that no match uses up",
            changed([](auto& header) { header.literalCount = 4; }).packed(),
            "literals than it has"},
        {"a state that doesn't exist",
            changed([](auto& header) { header.literalLengthState = 64; }).packed(), "state"},
        {"another state that doesn't exist",
            changed([](auto& header) { header.distanceState = 256; }).packed(), "state"},
        {"frequencies of too little", changed([](auto& header) {
             --*std::ranges::max_element(header.frequencies.literals);
         }).packed(),
            "add up"},
        {"frequencies of too much",
            changed([](auto& header) { ++header.frequencies.distances[0]; }).packed(), "add up"},
        {"no frequencies at all", changed([](auto& header) { header.frequencies = {}; }).packed(),
            "add up"},
        {"an impossible number of bits", changed([](auto& header) { header.lmdBits = 1; }).plain(),
            "number of bits"},
        {"payloads that don't add up",
            changed([](auto& header) { ++header.lmdPayloadBytes; }).plain(), "add up"},
        {"a payload beyond the end",
            changed([](auto& header) { header.lmdPayloadBytes = 0xFFFFF; }).packed(), "expected"},
    };
    Block dirty = good;
    dirty.header.lmdBits = -1;
    dirty.payloads.back() |= std::byte{0x80};
    rows.push_back({"bits where a payload has none", dirty.packed(), "end as its block says"});
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Bytes content(4096);
        try {
            lzfse::decode(row.stream + endMark, content);
            ADD_FAILURE() << "was accepted";
        } catch (const bytes::FormatError& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(row.reason));
        }
    }
}

TEST(LzfseDecoder, SurvivesEveryDamage)
{
    const Bytes content = words(5000, 1) + noise(300, 2) + Bytes(700);
    const Block block = Block::of(content);
    const Bytes small = words(600, 3);
    for (const Bytes& stream : {block.packed() + endMark, block.plain() + endMark,
             lzfse::Encoder().encode(small), stored(small) + endMark}) {
        Bytes out(content.size());
        // Copies of the exact size, so that a sanitizer sees a read past the end.
        for (std::size_t length = 0; length < stream.size(); ++length)
            EXPECT_THROW(
                lzfse::decode(
                    Bytes(stream.begin(), stream.begin() + static_cast<long>(length)), out),
                bytes::FormatError)
                << length;
        for (std::size_t at = 0; at < stream.size(); ++at)
            for (const unsigned flip : {0x01U, 0x10U, 0x80U, 0xFFU}) {
                Bytes damaged = stream;
                damaged[at] ^= static_cast<std::byte>(flip);
                try {
                    EXPECT_LE(lzfse::decode(damaged, out), out.size());
                } catch (const bytes::FormatError&) { }
            }
    }
}

TEST(LzfseDecoder, NeverWritesPastWhatItIsGiven)
{
    const Bytes content = words(6000, 1);
    const Bytes stream = lzfse::Encoder().encode(content);
    for (std::size_t room = 0; room < content.size(); room += 7) {
        Bytes out(room);
        EXPECT_THROW(lzfse::decode(stream, out), bytes::FormatError) << room;
    }
}

} // namespace
