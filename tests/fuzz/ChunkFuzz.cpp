#include "FuzzInput.h"

#include "bytes/ByteReader.h"
#include "udif/ChunkCodec.h"

using namespace udif;

// One compressed chunk. The first byte chooses the codec, the two behind it the decoded length.
FUZZ_TARGET(chunk, input)
{
    constexpr ChunkType types[] = {
        ChunkType::zlib, ChunkType::bzip2, ChunkType::adc, ChunkType::lzfse, ChunkType::lzma};
    fuzz::accepts([&] {
        bytes::ByteReader in(input);
        const ChunkType type = types[in.u8() % std::size(types)];
        std::vector<std::byte> content(in.u16le());
        decodeChunk(type, in.take(in.remaining()), content);
    });
}
