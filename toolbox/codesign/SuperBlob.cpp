#include "codesign/SuperBlob.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"
#include "bytes/FormatError.h"

namespace codesign {

using bytes::ByteReader;
using bytes::ByteWriter;
using bytes::FormatError;

namespace {

constexpr std::size_t blobHeadSize = 8;
constexpr std::size_t indexEntrySize = 8;
/// No signature has more than a dozen parts.
constexpr uint32_t mostBlobs = 256;

struct IndexEntry {
    uint32_t number, offset;
};

Blob blobAt(std::span<const std::byte> whole, uint32_t offset)
{
    if (offset > whole.size())
        throw FormatError("a part of the signature leaves it", offset);
    ByteReader in(whole.subspan(offset), offset);
    in.u32();
    const uint32_t length = in.u32();
    if (length < blobHeadSize || length > whole.size() - offset)
        throw FormatError("a part of the signature has a wrong length", offset);
    const auto raw = whole.subspan(offset, length);
    return {raw.begin(), raw.end()};
}

} // namespace

Blob makeBlob(Magic magic, std::span<const std::byte> content)
{
    ByteWriter out;
    out.u32(static_cast<uint32_t>(magic));
    out.u32(static_cast<uint32_t>(blobHeadSize + content.size()));
    out.raw(content);
    return out.take();
}

std::span<const std::byte> blobContent(std::span<const std::byte> blob, Magic magic)
{
    ByteReader in(blob);
    if (in.u32() != static_cast<uint32_t>(magic))
        throw FormatError("a part of the signature is of another kind", 0);
    if (in.u32() != blob.size())
        throw FormatError("a part of the signature has a wrong length", 4);
    return blob.subspan(blobHeadSize);
}

SuperBlob SuperBlob::read(std::span<const std::byte> raw, Magic magic, bool strict)
{
    ByteReader head(raw);
    if (head.u32() != static_cast<uint32_t>(magic))
        throw FormatError("not a code signature", 0);
    const uint32_t length = head.u32();
    const uint32_t count = head.u32();
    if (length > raw.size() || length < head.mark())
        throw FormatError("the signature is longer than its place", 4);
    if (count > mostBlobs || count * indexEntrySize > length - head.mark())
        throw FormatError("a signature of " + std::to_string(count) + " parts", 8);

    const auto whole = raw.first(length);
    ByteReader in(whole);
    in.seek(head.mark());
    SuperBlob result;
    result.magic = magic;
    std::size_t expected = head.mark() + count * indexEntrySize;
    for (uint32_t i = 0; i < count; ++i) {
        const IndexEntry entry{in.u32(), in.u32()};
        Blob blob = blobAt(whole, entry.offset);
        if (strict && entry.offset != expected)
            throw FormatError("a gap in the signature", entry.offset);
        expected = entry.offset + blob.size();
        if (!result.blobs.emplace(entry.number, std::move(blob)).second)
            throw FormatError("a part of the signature occurs twice", entry.offset);
    }
    if (strict && expected != length)
        throw FormatError("bytes behind the last part of the signature", expected);
    return result;
}

Blob SuperBlob::write() const
{
    ByteWriter index;
    ByteWriter content;
    const std::size_t start = blobHeadSize + 4 + blobs.size() * indexEntrySize;
    index.u32(static_cast<uint32_t>(blobs.size()));
    for (const auto& [number, blob] : blobs) {
        index.u32(number);
        index.u32(static_cast<uint32_t>(start + content.size()));
        content.raw(blob);
    }
    index.raw(content.bytes());
    return makeBlob(magic, index.bytes());
}

const Blob* SuperBlob::find(Slot slot) const
{
    const auto found = blobs.find(static_cast<uint32_t>(slot));
    return found == blobs.end() ? nullptr : &found->second;
}

} // namespace codesign
