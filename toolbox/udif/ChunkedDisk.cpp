#include "udif/ChunkedDisk.h"

#include "bytes/FormatError.h"
#include "udif/ChunkCodec.h"

#include <algorithm>

namespace udif {

ChunkedDisk::ChunkedDisk(const bytes::ByteSource& file, const Udif& image)
    : m_file(file)
    , m_image(image)
{
    for (const BlockTable& table : image.tables)
        for (const Chunk& chunk : table.chunks)
            if (chunk.isStored())
                m_extents.push_back({(table.firstSector + chunk.firstSector) * sectorBytes,
                    chunk.sectorCount * sectorBytes, &chunk});
    std::ranges::sort(m_extents, {}, &Extent::start);
}

std::vector<ChunkedDisk::Extent>::const_iterator ChunkedDisk::extentAt(uint64_t offset) const
{
    return std::ranges::upper_bound(
        m_extents, offset, {}, [](const Extent& extent) { return extent.start + extent.length; });
}

void ChunkedDisk::readAt(uint64_t offset, std::span<std::byte> out) const
{
    if (offset > size() || size() - offset < out.size())
        throw bytes::FormatError(
            "a range of " + std::to_string(out.size()) + " bytes leaves the disk", offset);
    for (auto extent = extentAt(offset); !out.empty(); ++extent) {
        const bool last = extent == m_extents.end();
        const uint64_t next = last ? size() : std::max(extent->start, offset);
        const auto gap = static_cast<std::size_t>(std::min<uint64_t>(next - offset, out.size()));
        std::ranges::fill(out.first(gap), std::byte{0});
        out = out.subspan(gap);
        offset += gap;
        if (last || out.empty())
            return;
        const uint64_t within = offset - extent->start;
        const auto count =
            static_cast<std::size_t>(std::min<uint64_t>(extent->length - within, out.size()));
        readFrom(*extent, within, out.first(count));
        out = out.subspan(count);
        offset += count;
    }
}

bool ChunkedDisk::isEmpty(uint64_t offset, uint64_t length) const
{
    const auto extent = extentAt(offset);
    return extent == m_extents.end()
        || (extent->start >= offset && extent->start - offset >= length);
}

void ChunkedDisk::readFrom(const Extent& extent, uint64_t within, std::span<std::byte> out) const
{
    if (extent.chunk->type == ChunkType::raw) {
        m_file.readAt(m_image.trailer.dataForkOffset + extent.chunk->offset + within, out);
        return;
    }
    const Content content = contentOf(extent);
    std::copy_n(content->begin() + static_cast<std::ptrdiff_t>(within), out.size(), out.begin());
}

ChunkedDisk::Content ChunkedDisk::contentOf(const Extent& extent) const
{
    if (Content content = cached(extent.chunk))
        return content;
    // Outside of the lock: two threads may decode the same chunk, but none waits for another's.
    auto content = std::make_shared<const std::vector<std::byte>>(
        readCompressedChunk(m_file, m_image.trailer, *extent.chunk));
    keep(extent.chunk, content);
    return content;
}

ChunkedDisk::Content ChunkedDisk::cached(const Chunk* chunk) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = std::ranges::find(m_cache, chunk, [](auto& entry) { return entry.first; });
    if (found == m_cache.end())
        return {};
    m_cache.splice(m_cache.begin(), m_cache, found);
    return found->second;
}

void ChunkedDisk::keep(const Chunk* chunk, const Content& content) const
{
    const std::lock_guard lock(m_mutex);
    m_cache.emplace_front(chunk, content);
    m_cachedBytes += content->size();
    while (m_cachedBytes > cachedBytesLimit && m_cache.size() > 1) {
        m_cachedBytes -= m_cache.back().second->size();
        m_cache.pop_back();
    }
}

std::vector<std::byte> readCompressedChunk(
    const bytes::ByteSource& file, const KolyTrailer& trailer, const Chunk& chunk)
{
    const auto stored = file.read(trailer.dataForkOffset + chunk.offset, chunk.length);
    std::vector<std::byte> content(chunk.sectorCount * sectorBytes);
    try {
        decodeChunk(chunk.type, stored, content);
    } catch (const bytes::FormatError& error) {
        throw bytes::FormatError(error.what(), trailer.dataForkOffset + chunk.offset);
    }
    return content;
}

} // namespace udif
