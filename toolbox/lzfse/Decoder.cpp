#include "lzfse/Decoder.h"

#include "bytes/ByteReader.h"
#include "lzfse/BlockDecoder.h"
#include "lzfse/LzvnDecoder.h"

#include <memory>

namespace lzfse {

namespace {

class StreamDecoder {
public:
    StreamDecoder(std::span<const std::byte> stream, std::span<std::byte> content)
        : m_in(stream)
        , m_out(content)
    { }

    std::size_t run()
    {
        while (decodeBlock()) { }
        if (!m_in.atEnd())
            m_in.fail("an LZFSE stream goes on behind its end");
        return m_out.size();
    }

private:
    /// False at the end mark.
    bool decodeBlock()
    {
        const auto start = m_in.mark();
        const auto magic = static_cast<Magic>(m_in.u32le());
        if (magic == Magic::end)
            return false;
        m_in.seek(start);
        switch (magic) {
        case Magic::stored:
            m_out.append(m_in.take(m_in.record<StoredBlock>().rawBytes));
            return true;
        case Magic::lzvn:
            decodeLzvnBlock();
            return true;
        case Magic::packed:
            decodeCoded(readPackedHeader(m_in));
            return true;
        case Magic::plain:
            decodeCoded(readPlainHeader(m_in));
            return true;
        case Magic::end:
            break;
        }
        m_in.fail("no LZFSE block begins like this");
    }

    void decodeLzvnBlock()
    {
        const auto block = m_in.record<LzvnBlock>();
        decodeLzvn(m_in.take(block.payloadBytes), block.rawBytes, m_out);
    }

    void decodeCoded(const BlockHeader& header)
    {
        // Its tables are large, and short streams need none.
        if (!m_blocks)
            m_blocks = std::make_unique<BlockDecoder>();
        const std::size_t payloads =
            std::size_t{header.literalPayloadBytes} + header.lmdPayloadBytes;
        m_blocks->decode(header, m_in.take(payloads), m_out);
    }

    bytes::ByteReader m_in;
    Output m_out;
    std::unique_ptr<BlockDecoder> m_blocks;
};

} // namespace

std::size_t decode(std::span<const std::byte> stream, std::span<std::byte> content)
{
    return StreamDecoder(stream, content).run();
}

} // namespace lzfse
