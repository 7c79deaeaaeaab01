#include "udif/ChunkCodecs.h"

#include "bytes/FormatError.h"

#include <array>
#include <cstdint>
#include <lzma.h>
#include <new>

// A chunk is one stream of the .xz format.
namespace udif {

namespace {

/// What the strongest preset needs to be decoded, so that a damaged header can't ask for gigabytes.
constexpr uint64_t decoderMemoryLimit = uint64_t{80} << 20;

const uint8_t* lzmaBytes(std::span<const std::byte> bytes)
{
    return reinterpret_cast<const uint8_t*>(bytes.data());
}

uint8_t* lzmaBytes(std::span<std::byte> bytes)
{
    return reinterpret_cast<uint8_t*>(bytes.data());
}

void decodeLzma(std::span<const std::byte> stored, std::span<std::byte> content)
{
    uint64_t memoryLimit = decoderMemoryLimit;
    std::size_t used = 0;
    std::size_t filled = 0;
    const lzma_ret result = lzma_stream_buffer_decode(&memoryLimit, 0, nullptr, lzmaBytes(stored),
        &used, stored.size(), lzmaBytes(content), &filled, content.size());
    if (result == LZMA_MEM_ERROR)
        throw std::bad_alloc();
    if (result != LZMA_OK || used != stored.size() || filled != content.size())
        throw bytes::FormatError("an LZMA chunk is damaged");
}

class LzmaEncoder final : public ChunkEncoder {
public:
    explicit LzmaEncoder(int level)
    {
        if (lzma_lzma_preset(&m_options, static_cast<uint32_t>(clampedLevel(level))))
            throw std::bad_alloc();
    }

    std::vector<std::byte> encode(std::span<const std::byte> content) override
    {
        // A dictionary beyond the chunk would only cost memory, here and where it is decoded.
        m_options.dict_size =
            std::max<uint32_t>(LZMA_DICT_SIZE_MIN, static_cast<uint32_t>(content.size()));
        std::array filters{
            lzma_filter{LZMA_FILTER_LZMA2, &m_options}, lzma_filter{LZMA_VLI_UNKNOWN, nullptr}};
        std::vector<std::byte> out(content.size() - 1);
        std::size_t length = 0;
        const lzma_ret result = lzma_stream_buffer_encode(filters.data(), LZMA_CHECK_CRC32, nullptr,
            lzmaBytes(content), content.size(), lzmaBytes(std::span(out)), &length, out.size());
        if (result == LZMA_MEM_ERROR)
            throw std::bad_alloc();
        out.resize(result == LZMA_OK ? length : 0);
        return out;
    }

private:
    lzma_options_lzma m_options{};
};

std::unique_ptr<ChunkEncoder> makeLzmaEncoder(int level)
{
    return std::make_unique<LzmaEncoder>(level);
}

} // namespace

const ChunkCodec lzmaCodec{ChunkType::lzma, "LZMA", decodeLzma, makeLzmaEncoder, 6};

} // namespace udif
