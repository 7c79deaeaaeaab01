#include "macho/MachOFile.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"
#include "bytes/FormatError.h"

#include <algorithm>
#include <cassert>

namespace macho {

using bytes::FormatError;

namespace {

/// Java classes share the magic; their next field is a version of 45 and more.
constexpr uint32_t mostSlices = 30;
constexpr uint32_t pageExponent = 14;

struct SliceEntry {
    Architecture architecture;
    Extent extent;
};

template <typename Entry>
SliceEntry entryFrom(bytes::ByteReader& in)
{
    const auto entry = in.record<Entry>();
    return {{entry.cpuType, entry.cpuSubtype}, {entry.offset, entry.size}};
}

std::vector<SliceEntry> readFatHeader(const bytes::ByteSource& source)
{
    const auto header = bytes::recordAt<FatHeader>(source.read(0, sizeof(FatHeader)));
    const bool wide = header.magic == fatMagic64;
    const uint32_t count = header.sliceCount;
    if (count == 0 || count >= mostSlices)
        throw FormatError("a fat file of " + std::to_string(count) + " slices", 4);
    const std::size_t entrySize = wide ? sizeof(FatEntry64) : sizeof(FatEntry32);
    const std::vector<std::byte> raw = source.read(sizeof(FatHeader), count * entrySize);

    std::vector<SliceEntry> entries;
    bytes::ByteReader in(raw, sizeof(FatHeader));
    for (uint32_t i = 0; i < count; ++i)
        entries.push_back(wide ? entryFrom<FatEntry64>(in) : entryFrom<FatEntry32>(in));
    return entries;
}

void requireApart(std::vector<SliceEntry> entries, uint64_t fileSize, std::size_t headerSize)
{
    std::ranges::sort(entries, {}, [](const SliceEntry& entry) { return entry.extent.offset; });
    uint64_t free = headerSize;
    for (const SliceEntry& entry : entries) {
        const Extent& extent = entry.extent;
        if (extent.offset < free || extent.offset > fileSize
            || fileSize - extent.offset < extent.size)
            throw FormatError("a slice leaves the file or overlaps another", extent.offset);
        free = extent.offset + extent.size;
    }
}

uint64_t pageAligned(uint64_t offset)
{
    constexpr uint64_t page = 1U << pageExponent;
    return (offset + page - 1) / page * page;
}

} // namespace

bool MachOFile::isMachO(const bytes::ByteSource& source)
{
    if (source.size() < sizeof(MachHeader))
        return false;
    const std::vector<std::byte> raw = source.read(0, 8);
    const auto header = bytes::recordAt<FatHeader>(raw);
    if (header.magic == fatMagic32 || header.magic == fatMagic64)
        return header.sliceCount > 0U && header.sliceCount < mostSlices;
    const uint32_t magic = bytes::recordAt<le32>(raw);
    return magic == magic32 || magic == magic64;
}

MachOFile MachOFile::read(const bytes::ByteSource& source)
{
    MachOFile file;
    if (source.size() < sizeof(MachHeader))
        throw FormatError("too short for a Mach-O file", 0);
    const auto header = bytes::recordAt<FatHeader>(source.read(0, sizeof(FatHeader)));
    file.isFat = header.magic == fatMagic32 || header.magic == fatMagic64;
    if (!file.isFat) {
        file.parts.push_back({{0, source.size()}, Slice::read(source)});
        return file;
    }

    const std::vector<SliceEntry> entries = readFatHeader(source);
    requireApart(entries, source.size(), sizeof(FatHeader));
    for (const SliceEntry& entry : entries) {
        const bytes::SourceRange range(source, entry.extent.offset, entry.extent.size);
        Slice slice = Slice::read(range);
        if (slice.architecture.cpuType != entry.architecture.cpuType)
            throw FormatError(
                "a slice is for another processor than the fat header says", entry.extent.offset);
        file.parts.push_back({entry.extent, std::move(slice)});
    }
    return file;
}

std::size_t MachOFile::nativePart() const
{
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (parts[i].slice.architecture.isArm64())
            return i;
    }
    return 0;
}

std::string MachOFile::formatText() const
{
    std::string names;
    for (const Part& part : parts)
        names += (names.empty() ? "" : " ") + part.slice.architecture.name();
    return (isFat ? "Mach-O universal (" : "Mach-O thin (") + names + ")";
}

FatLayout fatLayout(
    const std::vector<Architecture>& architectures, const std::vector<uint64_t>& sizes)
{
    assert(architectures.size() == sizes.size());
    FatLayout layout;
    uint64_t end = 1;
    for (const uint64_t size : sizes) {
        layout.offsets.push_back(pageAligned(end));
        end = layout.offsets.back() + size;
    }
    layout.fileSize = end;

    const bool wide = end > UINT32_MAX;
    bytes::ByteWriter out;
    out.record(FatHeader{wide ? fatMagic64 : fatMagic32, static_cast<uint32_t>(sizes.size())});
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        const Architecture& architecture = architectures[i];
        if (wide)
            out.record(FatEntry64{architecture.cpuType, architecture.cpuSubtype, layout.offsets[i],
                sizes[i], pageExponent, 0});
        else
            out.record(FatEntry32{architecture.cpuType, architecture.cpuSubtype,
                static_cast<uint32_t>(layout.offsets[i]), static_cast<uint32_t>(sizes[i]),
                pageExponent});
    }
    layout.header = out.take();
    return layout;
}

} // namespace macho
