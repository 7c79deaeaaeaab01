#include "udif/ChunkCodecs.h"

#include "bytes/FormatError.h"
#include "lzfse/Decoder.h"
#include "lzfse/Encoder.h"

namespace udif {

namespace {

void decodeLzfse(std::span<const std::byte> stored, std::span<std::byte> content)
{
    if (lzfse::decode(stored, content) != content.size())
        throw bytes::FormatError("an LZFSE chunk is shorter than it should be");
}

class LzfseEncoder final : public ChunkEncoder {
public:
    std::vector<std::byte> encode(std::span<const std::byte> content) override
    {
        std::vector<std::byte> out = m_encoder.encode(content);
        if (out.size() >= content.size())
            out.clear();
        return out;
    }

private:
    lzfse::Encoder m_encoder;
};

std::unique_ptr<ChunkEncoder> makeLzfseEncoder(int)
{
    return std::make_unique<LzfseEncoder>();
}

} // namespace

const ChunkCodec lzfseCodec{ChunkType::lzfse, "LZFSE", decodeLzfse, makeLzfseEncoder, 0};

} // namespace udif
