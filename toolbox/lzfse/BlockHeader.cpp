#include "lzfse/BlockHeader.h"

#include "bytes/StoredInteger.h"
#include "lzfse/Limits.h"

#include <algorithm>
#include <numeric>

namespace lzfse {

namespace {

using bytes::le16;
using bytes::le32;
using bytes::le64;

struct PackedHeader {
    le32 magic, rawBytes;
    std::array<le64, 3> fields;
};
static_assert(sizeof(PackedHeader) == 32 && bytes::isStoredRecord<PackedHeader>);

struct PlainHeader {
    le32 magic, rawBytes, payloadBytes;
    le32 literalCount, matchCount, literalPayloadBytes, lmdPayloadBytes;
    le32 literalBits;
    std::array<le16, 4> literalStates;
    le32 lmdBits;
    le16 literalLengthState, matchLengthState, distanceState;
    std::array<le16, Frequencies::valueCount> frequencies;
    std::array<std::byte, 2> padding;
};
static_assert(sizeof(PlainHeader) == 772 && bytes::isStoredRecord<PlainHeader>);

/// Takes fields of some bits from a word, the lowest first.
class FieldReader {
public:
    explicit FieldReader(uint64_t word)
        : m_word(word)
    { }
    template <typename Value>
    void take(unsigned bits, Value& value)
    {
        value = static_cast<Value>(m_word & ((uint64_t{1} << bits) - 1));
        m_word >>= bits;
    }
    uint64_t rest() const { return m_word; }

private:
    uint64_t m_word;
};

class FieldWriter {
public:
    template <typename Value>
    void put(unsigned bits, Value value)
    {
        m_word |= static_cast<uint64_t>(value) << m_used;
        m_used += bits;
    }
    uint64_t word() const { return m_word; }

private:
    uint64_t m_word = 0;
    unsigned m_used = 0;
};

void check(bytes::ByteReader& in, bool holds, const char* what)
{
    if (!holds)
        in.fail(what);
}

void checkFrequencies(bytes::ByteReader& in, std::span<const uint16_t> table, std::size_t states,
    bool isUsed, std::initializer_list<uint16_t> firstStates)
{
    const auto sum = std::accumulate(table.begin(), table.end(), uint32_t{0});
    check(in, sum == states || (sum == 0 && !isUsed),
        "the frequencies of an LZFSE block don't add up to its states");
    for (const uint16_t state : firstStates)
        check(in, state < states, "an LZFSE block starts in a state that doesn't exist");
}

BlockHeader checked(const BlockHeader& header, bytes::ByteReader& in)
{
    check(in,
        header.literalCount <= blockLiteralLimit && header.literalCount % 4 == 0
            && header.matchCount <= blockMatchLimit,
        "an LZFSE block has more literals or matches than the format allows");
    check(in,
        header.literalBits >= -7 && header.literalBits <= 0 && header.lmdBits >= -7
            && header.lmdBits <= 0,
        "an LZFSE block gives a wrong number of bits in its last byte");
    const Frequencies& tables = header.frequencies;
    const bool hasMatches = header.matchCount != 0;
    const auto& states = header.literalStates;
    checkFrequencies(in, tables.literalLengths, LengthAlphabet::stateCount, hasMatches,
        {header.literalLengthState});
    checkFrequencies(
        in, tables.matchLengths, LengthAlphabet::stateCount, hasMatches, {header.matchLengthState});
    checkFrequencies(
        in, tables.distances, DistanceAlphabet::stateCount, hasMatches, {header.distanceState});
    checkFrequencies(in, tables.literals, literalStates, header.literalCount != 0,
        {states[0], states[1], states[2], states[3]});
    return header;
}

} // namespace

BlockHeader readPackedHeader(bytes::ByteReader& in)
{
    const auto record = in.record<PackedHeader>();
    BlockHeader header{.rawBytes = record.rawBytes};
    FieldReader literals(record.fields[0]);
    literals.take(20, header.literalCount);
    literals.take(20, header.literalPayloadBytes);
    literals.take(20, header.matchCount);
    literals.take(3, header.literalBits);
    header.literalBits -= 7;
    FieldReader states(record.fields[1]);
    for (uint16_t& state : header.literalStates)
        states.take(10, state);
    states.take(20, header.lmdPayloadBytes);
    states.take(3, header.lmdBits);
    header.lmdBits -= 7;
    FieldReader last(record.fields[2]);
    uint32_t headerBytes = 0;
    last.take(32, headerBytes);
    last.take(10, header.literalLengthState);
    last.take(10, header.matchLengthState);
    last.take(10, header.distanceState);
    check(in, (literals.rest() | states.rest() | last.rest()) == 0,
        "an LZFSE block has bits where there is no field");
    check(in, headerBytes >= sizeof(PackedHeader), "the header of an LZFSE block is too short");
    header.frequencies = readPackedFrequencies(in.take(headerBytes - sizeof(PackedHeader)));
    return checked(header, in);
}

BlockHeader readPlainHeader(bytes::ByteReader& in)
{
    const auto record = in.record<PlainHeader>();
    BlockHeader header{.rawBytes = record.rawBytes,
        .literalCount = record.literalCount,
        .matchCount = record.matchCount,
        .literalPayloadBytes = record.literalPayloadBytes,
        .lmdPayloadBytes = record.lmdPayloadBytes,
        .literalBits = static_cast<int>(record.literalBits.value()),
        .lmdBits = static_cast<int>(record.lmdBits.value()),
        .literalLengthState = record.literalLengthState,
        .matchLengthState = record.matchLengthState,
        .distanceState = record.distanceState};
    std::ranges::copy(record.literalStates, header.literalStates.begin());
    auto frequency = record.frequencies.begin();
    header.frequencies.forEachTable([&](std::span<uint16_t> table) {
        for (uint16_t& value : table)
            value = *frequency++;
    });
    check(in, uint64_t{header.literalPayloadBytes} + header.lmdPayloadBytes == record.payloadBytes,
        "the payloads of an LZFSE block don't add up");
    return checked(header, in);
}

void writePackedHeader(const BlockHeader& header, std::vector<std::byte>& out)
{
    const std::size_t start = out.size();
    out.resize(start + sizeof(PackedHeader));
    writePackedFrequencies(header.frequencies, out);

    FieldWriter literals;
    literals.put(20, header.literalCount);
    literals.put(20, header.literalPayloadBytes);
    literals.put(20, header.matchCount);
    literals.put(3, header.literalBits + 7);
    FieldWriter states;
    for (const uint16_t state : header.literalStates)
        states.put(10, state);
    states.put(20, header.lmdPayloadBytes);
    states.put(3, header.lmdBits + 7);
    FieldWriter last;
    last.put(32, out.size() - start);
    last.put(10, header.literalLengthState);
    last.put(10, header.matchLengthState);
    last.put(10, header.distanceState);
    const PackedHeader record{.magic = static_cast<uint32_t>(Magic::packed),
        .rawBytes = header.rawBytes,
        .fields = {le64(literals.word()), le64(states.word()), le64(last.word())}};
    std::ranges::copy(bytes::recordBytes(record), out.begin() + static_cast<std::ptrdiff_t>(start));
}

} // namespace lzfse
