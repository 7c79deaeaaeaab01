#include "hfsplus/SparseCopy.h"

#include "bytes/Zeros.h"

#include <algorithm>

namespace hfsplus {

namespace {

constexpr std::size_t pageBytes = 4096;
constexpr std::size_t copyBytes = 256 * pageBytes;

/// Writes the runs of pages in `raw` that aren't zero.
void writePages(bytes::File& file, uint64_t offset, std::span<const std::byte> raw)
{
    std::size_t start = 0;
    const auto flush = [&](std::size_t end) {
        if (end > start)
            file.writeAt(offset + start, raw.subspan(start, end - start));
    };
    for (std::size_t at = 0; at < raw.size(); at += pageBytes) {
        const std::size_t length = std::min(pageBytes, raw.size() - at);
        if (!bytes::isZero(raw.subspan(at, length)))
            continue;
        flush(at);
        start = at + length;
    }
    flush(raw.size());
}

} // namespace

void copySparse(const bytes::ByteSource& source, bytes::File& file)
{
    const uint64_t size = source.size();
    std::vector<std::byte> buffer(static_cast<std::size_t>(std::min<uint64_t>(size, copyBytes)));
    for (uint64_t offset = 0; offset < size; offset += buffer.size()) {
        const auto piece = std::span(buffer).first(
            static_cast<std::size_t>(std::min<uint64_t>(size - offset, buffer.size())));
        source.readAt(offset, piece);
        writePages(file, offset, piece);
    }
    if (size > 0)
        file.resize(size);
}

} // namespace hfsplus
