#include "udif/ChunkCodec.h"

#include "bytes/FormatError.h"
#include "udif/ChunkCodecs.h"

#include <algorithm>
#include <array>
#include <string>

namespace udif {

namespace {

constexpr std::array codecs{&adcCodec, &zlibCodec, &bzip2Codec, &lzfseCodec, &lzmaCodec};

} // namespace

const ChunkCodec* codecFor(ChunkType type)
{
    const auto row = std::ranges::find(codecs, type, &ChunkCodec::type);
    return row == codecs.end() ? nullptr : *row;
}

void decodeChunk(ChunkType type, std::span<const std::byte> stored, std::span<std::byte> content)
{
    const ChunkCodec* codec = codecFor(type);
    if (!codec)
        throw bytes::FormatError("a chunk is of no known compression");
    if (!codec->decode)
        throw bytes::FormatError(
            std::string("this version can't read ") + codec->name + " chunks yet");
    codec->decode(stored, content);
}

} // namespace udif
