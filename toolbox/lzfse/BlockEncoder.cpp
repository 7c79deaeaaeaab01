#include "lzfse/BlockEncoder.h"

#include "lzfse/BlockHeader.h"
#include "lzfse/EncoderTable.h"

#include <algorithm>
#include <array>

namespace lzfse {

namespace {

template <uint32_t largest>
constexpr std::array<uint8_t, largest + 1> symbolsOf(const LengthAlphabet& alphabet)
{
    std::array<uint8_t, largest + 1> symbols{};
    std::size_t symbol = 0;
    for (uint32_t value = 0; value <= largest; ++value) {
        if (symbol + 1 < alphabet.symbolCount && alphabet.base[symbol + 1] == value)
            ++symbol;
        symbols[value] = static_cast<uint8_t>(symbol);
    }
    return symbols;
}

constexpr auto literalLengthSymbols = symbolsOf<largestLiteralLength>(literalLengths);
constexpr auto matchLengthSymbols = symbolsOf<largestMatchLength>(matchLengths);

using LengthTable = EncoderTable<LengthAlphabet::symbolCount, LengthAlphabet::stateCount>;
using DistanceTable = EncoderTable<DistanceAlphabet::symbolCount, DistanceAlphabet::stateCount>;
using LiteralEncoder = EncoderTable<literalSymbols, literalStates>;

/// Decoders may read this much from before the bits of the triples.
constexpr std::size_t lmdPadding = 8;
constexpr std::size_t literalPayloadLimit = blockLiteralLimit * 10 / 8;
constexpr std::size_t lmdPayloadLimit = lmdPadding + blockMatchLimit * 7;

} // namespace

BlockEncoder::BlockEncoder(std::vector<std::byte>& out)
    : m_out(out)
{
    m_literals.reserve(blockLiteralLimit);
    m_triples.reserve(blockMatchLimit);
}

void BlockEncoder::add(std::span<const std::byte> literals, std::size_t match, uint32_t distance)
{
    while (literals.size() > largestLiteralLength) {
        addTriple(literals.first(largestLiteralLength), 0, 0);
        literals = literals.subspan(largestLiteralLength);
    }
    while (match > largestMatchLength) {
        addTriple(literals, largestMatchLength, distance);
        literals = {};
        match -= largestMatchLength;
    }
    if (!literals.empty() || match != 0)
        addTriple(literals, match, distance);
}

void BlockEncoder::addTriple(
    std::span<const std::byte> literals, std::size_t match, uint32_t distance)
{
    if (m_triples.size() == blockMatchLimit
        || m_literals.size() + literals.size() > blockLiteralLimit)
        writeBlock();
    if (match == 0)
        distance = m_distance != 0 ? m_distance : 1; // must be valid all the same
    m_triples.push_back({.literals = static_cast<uint32_t>(literals.size()),
        .match = static_cast<uint32_t>(match),
        .distance = distance == m_distance ? 0 : distance});
    m_distance = distance;
    m_literals.insert(m_literals.end(), literals.begin(), literals.end());
    m_rawBytes += static_cast<uint32_t>(literals.size() + match);
}

void BlockEncoder::finish()
{
    if (!m_triples.empty())
        writeBlock();
}

void BlockEncoder::writeBlock()
{
    m_literals.resize((m_literals.size() + 3) / 4 * 4);
    BlockHeader header{.rawBytes = m_rawBytes,
        .literalCount = static_cast<uint32_t>(m_literals.size()),
        .matchCount = static_cast<uint32_t>(m_triples.size()),
        .frequencies = countSymbols()};
    PayloadWriter literals(literalPayloadLimit);
    encodeLiterals(header, literals);
    PayloadWriter triples(lmdPayloadLimit);
    encodeTriples(header, triples);

    writePackedHeader(header, m_out);
    m_out.insert(m_out.end(), literals.bytes().begin(), literals.bytes().end());
    m_out.insert(m_out.end(), triples.bytes().begin(), triples.bytes().end());
    m_literals.clear();
    m_triples.clear();
    m_distance = 0;
    m_rawBytes = 0;
}

Frequencies BlockEncoder::countSymbols() const
{
    std::array<uint32_t, LengthAlphabet::symbolCount> literalLengthCounts{}, matchLengthCounts{};
    std::array<uint32_t, DistanceAlphabet::symbolCount> distanceCounts{};
    std::array<uint32_t, literalSymbols> literalCounts{};
    for (const Triple& triple : m_triples) {
        ++literalLengthCounts[literalLengthSymbols[triple.literals]];
        ++matchLengthCounts[matchLengthSymbols[triple.match]];
        ++distanceCounts[distanceSymbol(triple.distance)];
    }
    for (const std::byte literal : m_literals)
        ++literalCounts[static_cast<std::size_t>(literal)];

    Frequencies frequencies;
    normalize(literalLengthCounts, LengthAlphabet::stateCount, frequencies.literalLengths);
    normalize(matchLengthCounts, LengthAlphabet::stateCount, frequencies.matchLengths);
    normalize(distanceCounts, DistanceAlphabet::stateCount, frequencies.distances);
    normalize(literalCounts, literalStates, frequencies.literals);
    return frequencies;
}

void BlockEncoder::encodeLiterals(BlockHeader& header, PayloadWriter& out) const
{
    const LiteralEncoder table(header.frequencies.literals);
    std::array<uint32_t, 4> states{};
    for (std::size_t i = m_literals.size(); i > 0; i -= states.size()) {
        for (std::size_t lane = states.size(); lane-- > 0;)
            table.push(
                out, static_cast<std::size_t>(m_literals[i - states.size() + lane]), states[lane]);
        out.flush();
    }
    header.literalBits = out.finish();
    header.literalPayloadBytes = static_cast<uint32_t>(out.bytes().size());
    std::ranges::transform(states, header.literalStates.begin(),
        [](uint32_t state) { return static_cast<uint16_t>(state); });
}

void BlockEncoder::encodeTriples(BlockHeader& header, PayloadWriter& out) const
{
    const LengthTable literalTable(header.frequencies.literalLengths);
    const LengthTable matchTable(header.frequencies.matchLengths);
    const DistanceTable distanceTable(header.frequencies.distances);
    uint32_t literalState = 0, matchState = 0, distanceState = 0;
    const auto push = [&out](const auto& table, const auto& alphabet, std::size_t symbol,
                          uint32_t value, uint32_t& state) {
        out.push(value - alphabet.base[symbol], alphabet.extraBits[symbol]);
        table.push(out, symbol, state);
    };
    out.append(lmdPadding);
    for (auto triple = m_triples.rbegin(); triple != m_triples.rend(); ++triple) {
        push(distanceTable, distances, distanceSymbol(triple->distance), triple->distance,
            distanceState);
        push(
            matchTable, matchLengths, matchLengthSymbols[triple->match], triple->match, matchState);
        push(literalTable, literalLengths, literalLengthSymbols[triple->literals], triple->literals,
            literalState);
        out.flush();
    }
    header.lmdBits = out.finish();
    header.lmdPayloadBytes = static_cast<uint32_t>(out.bytes().size());
    header.literalLengthState = static_cast<uint16_t>(literalState);
    header.matchLengthState = static_cast<uint16_t>(matchState);
    header.distanceState = static_cast<uint16_t>(distanceState);
}

} // namespace lzfse
