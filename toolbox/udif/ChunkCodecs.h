#pragma once

#include "udif/ChunkCodec.h"

#include <algorithm>

/// The compressions that this version reads or makes, each in a file of its own.
namespace udif {

extern const ChunkCodec adcCodec;
extern const ChunkCodec zlibCodec;
extern const ChunkCodec bzip2Codec;
extern const ChunkCodec lzfseCodec;
extern const ChunkCodec lzmaCodec;

/// As codecs count that know no more than nine.
constexpr int clampedLevel(int level)
{
    return std::clamp(level, 1, 9);
}

} // namespace udif
