#include "hfsplus/SparseCopy.h"

#include "bytes/SparseWrite.h"

#include <algorithm>

namespace hfsplus {

namespace {

constexpr std::size_t copyBytes = std::size_t{1} << 20;

} // namespace

void copySparse(const bytes::ByteSource& source, bytes::File& file)
{
    const uint64_t size = source.size();
    std::vector<std::byte> buffer(static_cast<std::size_t>(std::min<uint64_t>(size, copyBytes)));
    for (uint64_t offset = 0; offset < size; offset += buffer.size()) {
        const auto piece = std::span(buffer).first(
            static_cast<std::size_t>(std::min<uint64_t>(size - offset, buffer.size())));
        source.readAt(offset, piece);
        bytes::writeSparsely(file, offset, piece);
    }
    if (size > 0)
        file.resize(size);
}

} // namespace hfsplus
