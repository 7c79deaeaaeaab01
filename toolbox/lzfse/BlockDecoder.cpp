#include "lzfse/BlockDecoder.h"

#include "bytes/FormatError.h"
#include "lzfse/PayloadReader.h"

namespace lzfse {

namespace {

/// Pulls a value and moves `state` on.
uint32_t pullValue(PayloadReader& in, const ValueStep& step, uint32_t& state)
{
    const uint32_t bits = in.pull(step.bits);
    state = (bits >> step.extraBits) + static_cast<uint32_t>(step.delta);
    return step.base + (bits & ((uint32_t{1} << step.extraBits) - 1));
}

} // namespace

void BlockDecoder::decode(
    const BlockHeader& header, std::span<const std::byte> payloads, Output& out)
{
    const std::size_t start = out.size();
    decodeLiterals(header, payloads.first(header.literalPayloadBytes));
    decodeMatches(header, payloads.last(header.lmdPayloadBytes), out);
    if (out.size() - start != header.rawBytes)
        throw bytes::FormatError("an LZFSE block doesn't decode to as many bytes as it says");
}

void BlockDecoder::decodeLiterals(const BlockHeader& header, std::span<const std::byte> payload)
{
    PayloadReader in(payload, static_cast<unsigned>(-header.literalBits));
    if (header.literalCount == 0)
        return;
    fillTable(header.frequencies.literals, m_literalTable);
    // Four coders take turns, so that no step waits for the one before.
    std::array<uint32_t, 4> states{};
    std::copy_n(header.literalStates.begin(), states.size(), states.begin());
    for (std::size_t i = 0; i < header.literalCount; i += states.size()) {
        in.refill();
        for (std::size_t lane = 0; lane < states.size(); ++lane) {
            const StateStep step = m_literalTable[states[lane]];
            m_literals[i + lane] = std::byte{step.symbol};
            states[lane] = in.pull(step.bits) + static_cast<uint32_t>(step.delta);
        }
    }
    in.finish();
}

void BlockDecoder::decodeMatches(
    const BlockHeader& header, std::span<const std::byte> payload, Output& out)
{
    PayloadReader in(payload, static_cast<unsigned>(-header.lmdBits));
    if (header.matchCount == 0)
        return;
    fillTable(header.frequencies.literalLengths, literalLengths, m_literalLengths);
    fillTable(header.frequencies.matchLengths, matchLengths, m_matchLengths);
    fillTable(header.frequencies.distances, distances, m_distances);
    uint32_t literalState = header.literalLengthState;
    uint32_t matchState = header.matchLengthState;
    uint32_t distanceState = header.distanceState;
    uint32_t distance = 0;
    std::size_t literalsUsed = 0;
    for (uint32_t i = 0; i < header.matchCount; ++i) {
        in.refill();
        const uint32_t literals = pullValue(in, m_literalLengths[literalState], literalState);
        const uint32_t match = pullValue(in, m_matchLengths[matchState], matchState);
        const uint32_t ownDistance = pullValue(in, m_distances[distanceState], distanceState);
        distance = ownDistance != 0 ? ownDistance : distance; // zero repeats the one before
        if (header.literalCount - literalsUsed < literals)
            throw bytes::FormatError("an LZFSE block uses more literals than it has");
        out.appendLiterals(m_literals.data() + literalsUsed, literals);
        literalsUsed += literals;
        out.appendMatch(distance, match);
    }
    in.finish();
}

} // namespace lzfse
