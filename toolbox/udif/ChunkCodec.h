#pragma once

#include "udif/ImageFormat.h"

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace udif {

/// Compresses chunks one after the other; one object belongs to one thread.
class ChunkEncoder {
public:
    virtual ~ChunkEncoder() = default;
    /// The compressed bytes; empty when they would not be fewer than `content` has.
    virtual std::vector<std::byte> encode(std::span<const std::byte> content) = 0;
};

/// How one type of compressed chunk is read and made. Types that this version only knows by name
/// have no functions.
struct ChunkCodec {
    ChunkType type;
    const char* name;
    /// Fills `content` exactly or throws FormatError.
    void (*decode)(std::span<const std::byte> stored, std::span<std::byte> content);
    /// `level` counts from 1 (fast) to 9 (small), for zlib to 12; what lies outside counts as
    /// the nearest.
    std::unique_ptr<ChunkEncoder> (*makeEncoder)(int level);
    int defaultLevel;
};

/// Null for types that are no compression.
const ChunkCodec* codecFor(ChunkType type);

/// Decodes a compressed chunk; throws FormatError for damage and for a type that can't be read yet.
void decodeChunk(ChunkType type, std::span<const std::byte> stored, std::span<std::byte> content);

} // namespace udif
