#include "lzfse/LzvnDecoder.h"

#include "bytes/ByteReader.h"

namespace lzfse {

namespace {

/// What an operation code asks for: literals that follow it, then a match.
struct Operation {
    std::size_t literals = 0;
    std::size_t match = 0;
};

class LzvnDecoder {
public:
    LzvnDecoder(std::span<const std::byte> payload, Output& out)
        : m_in(payload)
        , m_out(out)
    { }

    void run(std::size_t rawBytes)
    {
        const std::size_t start = m_out.size();
        while (step())
            if (m_out.size() - start > rawBytes)
                break;
        if (m_out.size() - start != rawBytes)
            m_in.fail("an LZVN block doesn't decode to as many bytes as it says");
        m_in.skip(endPadding);
        if (!m_in.atEnd())
            m_in.fail("an LZVN block goes on behind its end");
    }

private:
    static constexpr std::size_t endPadding = 7;

    /// False at the end mark.
    bool step()
    {
        const unsigned code = m_in.u8();
        if (code == 0x06)
            return false;
        if (code == 0x0E || code == 0x16)
            return true;
        const Operation operation = read(code);
        m_out.append(m_in.take(operation.literals));
        if (operation.match != 0)
            m_out.appendMatch(m_distance, operation.match);
        return true;
    }

    Operation read(unsigned code)
    {
        if (code >= 0xF0)
            return {.match = countOf(code)};
        if (code >= 0xE0)
            return {.literals = countOf(code)};
        if (code >= 0xA0 && code < 0xC0)
            return mediumDistance(code);
        const bool isUndefined =
            code >= 0xD0 || (code >= 0x70 && code < 0x80) || (code < 0x40 && (code & 7) == 6);
        if (isUndefined)
            m_in.fail("an LZVN block has a code without meaning");
        if ((code & 7) == 7)
            m_distance = m_in.u16le();
        else if ((code & 7) != 6)
            m_distance = (code & 7) << 8 | m_in.u8();
        return {.literals = code >> 6, .match = (code >> 3 & 7) + 3};
    }

    /// In the code itself, or from 16 on in the byte behind it.
    std::size_t countOf(unsigned code)
    {
        const std::size_t count = code & 0xF;
        return count != 0 ? count : std::size_t{m_in.u8()} + 16;
    }

    Operation mediumDistance(unsigned code)
    {
        const unsigned word = m_in.u16le();
        m_distance = word >> 2;
        return {.literals = code >> 3 & 3, .match = ((code & 7) << 2 | (word & 3)) + 3};
    }

    bytes::ByteReader m_in;
    Output& m_out;
    uint32_t m_distance = 0;
};

} // namespace

void decodeLzvn(std::span<const std::byte> payload, std::size_t rawBytes, Output& out)
{
    LzvnDecoder(payload, out).run(rawBytes);
}

} // namespace lzfse
