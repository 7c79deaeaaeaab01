#include "macho/Slice.h"

#include "bytes/ByteReader.h"
#include "bytes/FormatError.h"

#include <algorithm>
#include <cstring>

namespace macho {

using bytes::ByteReader;
using bytes::FormatError;

namespace {

/// More load commands than any real file has.
constexpr uint32_t mostCommandBytes = 16U << 20;

std::string fixedName(const std::array<char, 16>& raw)
{
    return {raw.data(), strnlen(raw.data(), raw.size())};
}

void requireInside(
    const Slice& slice, uint64_t offset, uint64_t size, const char* what, uint64_t where)
{
    if (offset > slice.size || slice.size - offset < size)
        throw FormatError(std::string(what) + " leaves the file", where);
}

bool isZero(const bytes::ByteSource& source, uint64_t offset, std::size_t count)
{
    if (offset > source.size() || source.size() - offset < count)
        return false;
    return std::ranges::all_of(
        source.read(offset, count), [](std::byte byte) { return byte == std::byte{0}; });
}

template <typename SegmentRecord, typename SectionRecord>
void readSegment(Slice& slice, ByteReader& in, uint64_t commandOffset)
{
    const auto record = in.record<SegmentRecord>();
    Segment segment;
    segment.name = fixedName(record.name);
    segment.fileOffset = record.fileOffset;
    segment.fileSize = record.fileSize;
    segment.memorySize = record.memorySize;
    segment.commandOffset = commandOffset;
    requireInside(slice, segment.fileOffset, segment.fileSize, "segment", commandOffset);

    for (uint32_t i = 0; i < record.sectionCount; ++i) {
        const uint64_t where = in.offset();
        const auto section = in.record<SectionRecord>();
        const uint64_t size = section.size;
        if (section.offset == 0 || size == 0)
            continue;
        const uint64_t offset = section.offset;
        if (offset < segment.firstSectionOffset.value_or(UINT64_MAX))
            segment.firstSectionOffset = offset;
        if (fixedName(section.name) == "__info_plist" && fixedName(section.segment) == "__TEXT") {
            requireInside(slice, offset, size, "information dictionary", where);
            slice.infoPlist = Extent{offset, size};
        }
    }
    slice.segments.push_back(std::move(segment));
}

void readSignature(Slice& slice, ByteReader& in, uint64_t commandOffset)
{
    if (slice.signature)
        throw FormatError("a second code signature command", commandOffset);
    const auto record = in.record<CodeSignatureCommand>();
    requireInside(slice, record.dataOffset, record.dataSize, "code signature", commandOffset);
    if (record.dataOffset < slice.head.size())
        throw FormatError("the code signature lies in the header", commandOffset);
    if (record.head.size != sizeof record)
        throw FormatError("a code signature command of a wrong size", commandOffset);
    slice.signature = SignaturePlace{commandOffset, record.dataOffset, record.dataSize};
}

void readMinimumVersion(Slice& slice, ByteReader& in, uint32_t platform)
{
    const auto record = in.record<MinimumVersionCommand>();
    if (!slice.target)
        slice.target = TargetSystem{platform, record.minimumSystem, record.sdk};
}

void readCommand(Slice& slice, Command command, ByteReader& in, uint64_t commandOffset)
{
    switch (command) {
    case Command::segment32:
        readSegment<SegmentCommand32, Section32>(slice, in, commandOffset);
        break;
    case Command::segment64:
        readSegment<SegmentCommand64, Section64>(slice, in, commandOffset);
        break;
    case Command::codeSignature:
        readSignature(slice, in, commandOffset);
        break;
    case Command::symbolTable: {
        const auto record = in.record<SymbolTableCommand>();
        slice.strings = Extent{record.stringOffset, record.stringSize};
        break;
    }
    case Command::uuid:
        slice.uuid = in.record<UuidCommand>().uuid;
        break;
    case Command::buildVersion: {
        const auto record = in.record<BuildVersionCommand>();
        slice.target = TargetSystem{record.platform, record.minimumSystem, record.sdk};
        break;
    }
    case Command::minimumMacOS:
        readMinimumVersion(slice, in, 1);
        break;
    case Command::minimumIPhoneOS:
        readMinimumVersion(slice, in, 2);
        break;
    case Command::minimumTVOS:
        readMinimumVersion(slice, in, 3);
        break;
    case Command::minimumWatchOS:
        readMinimumVersion(slice, in, 4);
        break;
    }
}

} // namespace

Slice Slice::read(const bytes::ByteSource& source)
{
    Slice slice;
    slice.size = source.size();
    if (slice.size < sizeof(MachHeader))
        throw FormatError("too short for a Mach-O file", 0);
    const auto header = bytes::recordAt<MachHeader>(source.read(0, sizeof(MachHeader)));
    if (header.magic == magic32Swapped || header.magic == magic64Swapped)
        throw FormatError("a Mach-O file for a big-endian processor", 0);
    if (header.magic != magic32 && header.magic != magic64)
        throw FormatError("not a Mach-O file", 0);

    slice.is64 = header.magic == magic64;
    slice.architecture = {header.cpuType, header.cpuSubtype};
    slice.fileType = static_cast<FileType>(header.fileType.value());
    slice.commandCount = header.commandCount;
    const uint32_t headerSize = slice.is64 ? machHeaderSize64 : sizeof(MachHeader);
    const uint32_t commandBytes = header.commandBytes;
    if (commandBytes > mostCommandBytes)
        throw FormatError("load commands of " + std::to_string(commandBytes) + " bytes", 20);
    slice.head = source.read(0, headerSize + commandBytes);
    slice.nothingBehindHead = isZero(source, slice.head.size(), sizeof(CodeSignatureCommand));

    uint64_t at = headerSize;
    for (uint32_t i = 0; i < slice.commandCount; ++i) {
        const uint64_t left = slice.head.size() - at;
        if (left < sizeof(LoadCommand))
            throw FormatError("load command " + std::to_string(i) + " leaves the header", at);
        const std::span<const std::byte> rest = std::span(slice.head).subspan(at);
        const auto command = bytes::recordAt<LoadCommand>(rest);
        if (command.size < sizeof(LoadCommand) || command.size > left)
            throw FormatError("load command " + std::to_string(i) + " has a wrong size", at);
        ByteReader in(rest.first(command.size), at);
        readCommand(slice, static_cast<Command>(command.command.value()), in, at);
        at += command.size;
    }
    // A command that is added goes behind the last one, and must be where readers look for it.
    if (at != slice.head.size())
        throw FormatError("the load commands end before their stated size", at);
    return slice;
}

const Segment* Slice::segment(std::string_view name) const
{
    const auto found = std::ranges::find(segments, name, &Segment::name);
    return found == segments.end() ? nullptr : &*found;
}

std::optional<uint64_t> Slice::endOfHeaderRoom() const
{
    for (const Segment& segment : segments) {
        if (segment.fileOffset == 0 && segment.fileSize > 0 && segment.firstSectionOffset)
            return segment.firstSectionOffset;
    }
    return std::nullopt;
}

} // namespace macho
