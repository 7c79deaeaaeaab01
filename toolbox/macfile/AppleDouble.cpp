#include "macfile/AppleDouble.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"
#include "bytes/FormatError.h"
#include "macfile/ResourceFork.h"

#include <algorithm>
#include <cstring>

namespace macfile {

using bytes::be16;
using bytes::be32;
using bytes::ByteReader;
using bytes::ByteWriter;
using bytes::FormatError;

namespace {

constexpr uint32_t magic = 0x00051607;
constexpr uint32_t version = 0x00020000;
constexpr uint32_t resourceForkEntry = 2;
constexpr uint32_t finderInfoEntry = 9;
constexpr uint32_t attributesMagic = 0x41545452; // "ATTR"
constexpr std::size_t longestName = 254; // its length is stored in a byte, with a NUL
/// Where a Mac lets the fork begin when there are attributes: the filler fork ends at 4096 then.
constexpr std::size_t usualForkStart = 3810;

struct Header {
    be32 magic, version;
    std::array<std::byte, 16> filler;
    be16 entryCount;
};
static_assert(sizeof(Header) == 26 && bytes::isStoredRecord<Header>);

struct Entry {
    be32 id, offset, length;
};
static_assert(sizeof(Entry) == 12 && bytes::isStoredRecord<Entry>);

/// Follows the Finder information and two bytes of padding.
struct AttributesHeader {
    be32 magic, tag, totalSize, dataStart, dataLength;
    std::array<be32, 3> reserved;
    be16 flags, count;
};
static_assert(sizeof(AttributesHeader) == 36 && bytes::isStoredRecord<AttributesHeader>);

struct AttributeEntry {
    be32 offset, length;
    be16 flags;
    uint8_t nameLength; // the NUL included; name and padding follow
};
static_assert(sizeof(AttributeEntry) == 11 && bytes::isStoredRecord<AttributeEntry>);

constexpr std::size_t infoStart = sizeof(Header) + 2 * sizeof(Entry);
constexpr std::size_t infoEnd = infoStart + sizeof(FinderInfo);
constexpr std::size_t attributesStart = infoEnd + 2;

std::size_t entrySize(const std::string& name)
{
    return (sizeof(AttributeEntry) + name.size() + 1 + 3) / 4 * 4;
}

std::span<const std::byte> sliceOf(std::span<const std::byte> raw, const Entry& entry)
{
    if (entry.offset > raw.size() || raw.size() - entry.offset < entry.length)
        throw FormatError("an AppleDouble entry leaves the file", entry.offset);
    return raw.subspan(entry.offset, entry.length);
}

std::string readName(ByteReader& in, std::size_t length)
{
    std::string name = in.text(length);
    if (length < 2 || name.find('\0') != length - 1)
        in.fail("bad name of an extended attribute");
    name.pop_back();
    return name;
}

/// `area` is the whole first entry; offsets in it count from the start of the file.
void readAttributes(std::span<const std::byte> raw, const Entry& area, Metadata& metadata)
{
    const std::size_t start = area.offset + sizeof(FinderInfo) + 2;
    if (area.length < sizeof(FinderInfo) + 2 + sizeof(AttributesHeader))
        return;
    const std::size_t end = area.offset + area.length;
    ByteReader in(raw.first(end));
    in.seek(start);
    const auto header = in.record<AttributesHeader>();
    if (header.magic != attributesMagic)
        return;
    std::size_t budget = area.length; // values do not overlap, so together they fit in the area
    for (unsigned i = 0; i < header.count; ++i) {
        const auto entry = in.record<AttributeEntry>();
        const std::string name = readName(in, entry.nameLength);
        in.skip(std::min(entrySize(name) - sizeof entry - entry.nameLength, in.remaining()));
        if (entry.offset > end || end - entry.offset < entry.length || budget < entry.length)
            in.fail("the extended attribute " + name + " leaves its area");
        budget -= entry.length;
        const auto value = raw.subspan(entry.offset, entry.length);
        metadata.attributes[name].assign(value.begin(), value.end());
    }
}

void readEntry(std::span<const std::byte> raw, const Entry& entry, Metadata& metadata)
{
    const auto slice = sliceOf(raw, entry);
    if (entry.id == resourceForkEntry && !isFillerFork(slice))
        metadata.resourceFork.assign(slice.begin(), slice.end());
    if (entry.id != finderInfoEntry)
        return;
    if (slice.size() < sizeof(FinderInfo))
        throw FormatError("too little Finder information", entry.offset);
    std::copy_n(slice.begin(), metadata.finderInfo.size(), metadata.finderInfo.begin());
    readAttributes(raw, entry, metadata);
}

ByteWriter writeHead(std::size_t forkStart, std::size_t forkLength)
{
    ByteWriter out;
    Header header{magic, version, {}, 2};
    std::memcpy(header.filler.data(), "Mac OS X        ", header.filler.size());
    out.record(header);
    out.record(Entry{finderInfoEntry, infoStart, static_cast<uint32_t>(forkStart - infoStart)});
    out.record(Entry{
        resourceForkEntry, static_cast<uint32_t>(forkStart), static_cast<uint32_t>(forkLength)});
    return out;
}

void requireStorable(const Metadata& metadata)
{
    uint64_t total = metadata.resourceFork.size();
    for (const auto& [name, value] : metadata.attributes) {
        if (name.empty() || name.size() > longestName || name.find('\0') != std::string::npos)
            throw FormatError("an extended attribute's name cannot be stored: " + name);
        total += entrySize(name) + value.size();
    }
    if (total > UINT32_MAX - 65536 || metadata.attributes.size() > UINT16_MAX)
        throw FormatError("too much metadata for one AppleDouble file");
}

void writeAttributes(ByteWriter& out, const Metadata& metadata, std::size_t forkStart)
{
    std::size_t entries = 0, values = 0;
    for (const auto& [name, value] : metadata.attributes) {
        entries += entrySize(name);
        values += value.size();
    }
    const std::size_t dataStart = attributesStart + sizeof(AttributesHeader) + entries;
    out.padTo(attributesStart);
    out.record(AttributesHeader{.magic = attributesMagic,
        .tag = 0,
        .totalSize = static_cast<uint32_t>(forkStart),
        .dataStart = static_cast<uint32_t>(dataStart),
        .dataLength = static_cast<uint32_t>(values),
        .reserved = {},
        .flags = 0,
        .count = static_cast<uint16_t>(metadata.attributes.size())});
    auto at = static_cast<uint32_t>(dataStart);
    for (const auto& [name, value] : metadata.attributes) {
        const auto length = static_cast<uint32_t>(value.size());
        out.record(AttributeEntry{at, length, 0, static_cast<uint8_t>(name.size() + 1)});
        out.text(name);
        out.zeros(entrySize(name) - sizeof(AttributeEntry) - name.size());
        at += length;
    }
    for (const auto& [name, value] : metadata.attributes)
        out.raw(value);
    out.padTo(forkStart);
}

std::size_t forkStartFor(const Metadata& metadata)
{
    if (metadata.attributes.empty())
        return infoEnd;
    std::size_t needed = attributesStart + sizeof(AttributesHeader);
    for (const auto& [name, value] : metadata.attributes)
        needed += entrySize(name) + value.size();
    return std::max(usualForkStart, needed);
}

} // namespace

bool looksLikeAppleDouble(std::span<const std::byte> head)
{
    if (head.size() < sizeof(Header))
        return false;
    const auto header = bytes::recordAt<Header>(head);
    return header.magic == magic && header.version == version;
}

Metadata readAppleDouble(std::span<const std::byte> raw)
{
    if (!looksLikeAppleDouble(raw))
        throw FormatError("no AppleDouble file", 0);
    ByteReader in(raw);
    const auto header = in.record<Header>();
    Metadata metadata;
    for (unsigned i = 0; i < header.entryCount; ++i)
        readEntry(raw, in.record<Entry>(), metadata);
    return metadata;
}

std::vector<std::byte> writeAppleDouble(const Metadata& metadata)
{
    requireStorable(metadata);
    const std::size_t forkStart = forkStartFor(metadata);
    const bool needsFiller = metadata.resourceFork.empty() && !metadata.attributes.empty();
    const auto fork = needsFiller ? fillerFork() : metadata.resourceFork;
    ByteWriter out = writeHead(forkStart, fork.size());
    out.raw(metadata.finderInfo);
    if (!metadata.attributes.empty())
        writeAttributes(out, metadata, forkStart);
    out.raw(fork);
    return out.take();
}

} // namespace macfile
