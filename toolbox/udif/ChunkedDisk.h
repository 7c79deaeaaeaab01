#pragma once

#include "bytes/ByteDevice.h"
#include "udif/PartitionMap.h"
#include "udif/Udif.h"

#include <list>
#include <memory>
#include <mutex>
#include <vector>

namespace udif {

/// The disk that a UDIF image describes, decoded chunk by chunk as it is read. Keeps the chunks
/// used last, a few dozen megabytes at most; safe for several threads. What no table covers reads
/// as zeros. Borrows the file and the image.
class ChunkedDisk final : public bytes::ByteSource {
public:
    ChunkedDisk(const bytes::ByteSource& file, const Udif& image);

    uint64_t size() const override { return m_image.sectorCount() * sectorBytes; }
    void readAt(uint64_t offset, std::span<std::byte> out) const override;
    /// Whether no byte of the range is stored.
    bool isEmpty(uint64_t offset, uint64_t length) const;

private:
    static constexpr uint64_t cachedBytesLimit = uint64_t{32} << 20;

    struct Extent {
        uint64_t start, length; // bytes of the disk
        const Chunk* chunk;
    };
    using Content = std::shared_ptr<const std::vector<std::byte>>;

    /// The first extent that ends behind `offset`.
    std::vector<Extent>::const_iterator extentAt(uint64_t offset) const;
    void readFrom(const Extent& extent, uint64_t within, std::span<std::byte> out) const;
    Content contentOf(const Extent& extent) const;
    Content cached(const Chunk* chunk) const;
    void keep(const Chunk* chunk, const Content& content) const;

    const bytes::ByteSource& m_file;
    const Udif& m_image;
    std::vector<Extent> m_extents; // by start

    mutable std::mutex m_mutex;
    mutable std::list<std::pair<const Chunk*, Content>> m_cache; // used last first
    mutable uint64_t m_cachedBytes = 0;
};

/// Decodes all of a chunk that is compressed. Throws FormatError.
std::vector<std::byte> readCompressedChunk(
    const bytes::ByteSource& file, const KolyTrailer& trailer, const Chunk& chunk);

} // namespace udif
