#include "macho/SignatureSpace.h"

#include "bytes/FormatError.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace macho {

using bytes::FormatError;

namespace {

constexpr uint64_t signatureAlignment = 16;
constexpr uint64_t memoryPage = 0x4000; // __LINKEDIT's, on every processor

uint64_t roundedUp(uint64_t value, uint64_t unit)
{
    return (value + unit - 1) / unit * unit;
}

/// Changes one record inside `head`.
template <typename Record, typename Change>
void patch(std::vector<std::byte>& head, uint64_t offset, Change change)
{
    assert(head.size() - offset >= sizeof(Record));
    auto record = bytes::recordAt<Record>(std::span(head).subspan(offset));
    change(record);
    std::memcpy(head.data() + offset, &record, sizeof record);
}

const Segment& linkEdit(const Slice& slice)
{
    const Segment* segment = slice.segment("__LINKEDIT");
    if (segment == nullptr)
        throw FormatError("internal error in Code Signing subsystem");
    return *segment;
}

void setLinkEditSize(
    const Slice& slice, std::vector<std::byte>& head, uint64_t sliceSize, bool memoryToo)
{
    const Segment& segment = linkEdit(slice);
    if (sliceSize < segment.fileOffset)
        throw FormatError("__LINKEDIT lies behind the signed bytes", segment.commandOffset);
    const uint64_t fileSize = sliceSize - segment.fileOffset;
    const auto resize = [&](auto& record) {
        record.fileSize = static_cast<decltype(record.fileSize.value())>(fileSize);
        if (memoryToo)
            record.memorySize =
                static_cast<decltype(record.memorySize.value())>(roundedUp(fileSize, memoryPage));
    };
    if (slice.is64)
        patch<SegmentCommand64>(head, segment.commandOffset, resize);
    else
        patch<SegmentCommand32>(head, segment.commandOffset, resize);
}

void setCommands(std::vector<std::byte>& head, uint32_t count, std::size_t bytesOfCommands)
{
    patch<MachHeader>(head, 0, [&](MachHeader& header) {
        header.commandCount = count;
        header.commandBytes = static_cast<uint32_t>(bytesOfCommands);
    });
}

std::size_t headerSize(const Slice& slice)
{
    return slice.is64 ? machHeaderSize64 : sizeof(MachHeader);
}

void appendCommand(const Slice& slice, std::vector<std::byte>& head)
{
    const std::size_t newSize = head.size() + sizeof(CodeSignatureCommand);
    if (newSize > slice.endOfHeaderRoom().value_or(0) || !slice.nothingBehindHead)
        throw FormatError("not enough room in load commands to add LC_CODE_SIGNATURE");
    head.resize(newSize);
    setCommands(head, slice.commandCount + 1, newSize - headerSize(slice));
}

/// What is cut off begins with the old signature and must end with it.
void requireNothingBehindSignature(const Slice& slice)
{
    if (slice.signature
        && slice.size - (slice.signature->offset + slice.signature->room) > alignmentSlack)
        throw FormatError("main executable failed strict validation");
}

} // namespace

uint64_t signedLength(const Slice& slice)
{
    return slice.signature ? slice.signature->offset : roundedUp(slice.size, signatureAlignment);
}

SlicePlan planSignature(const Slice& slice, uint64_t room)
{
    assert(room % signatureAlignment == 0);
    requireNothingBehindSignature(slice);
    SlicePlan plan;
    plan.head = slice.head;
    plan.signatureOffset = signedLength(slice);
    plan.keep = std::min(plan.signatureOffset, slice.size);
    plan.size = plan.signatureOffset + room;
    if (plan.size > UINT32_MAX)
        throw FormatError("a slice of more than 4 GiB cannot hold a signature");

    uint64_t commandOffset = plan.head.size();
    if (slice.signature)
        commandOffset = slice.signature->commandOffset;
    else
        appendCommand(slice, plan.head);
    patch<CodeSignatureCommand>(plan.head, commandOffset, [&](CodeSignatureCommand& command) {
        command.head.command = static_cast<uint32_t>(Command::codeSignature);
        command.head.size = sizeof(CodeSignatureCommand);
        command.dataOffset = static_cast<uint32_t>(plan.signatureOffset);
        command.dataSize = static_cast<uint32_t>(room);
    });
    setLinkEditSize(slice, plan.head, plan.size, true);
    return plan;
}

SlicePlan planRemoval(const Slice& slice)
{
    requireNothingBehindSignature(slice);
    SlicePlan plan;
    plan.head = slice.head;
    plan.keep = slice.size;
    plan.size = slice.size;
    plan.signatureOffset = slice.size;
    if (!slice.signature)
        return plan;

    // What was padded for the signature's alignment goes with it.
    plan.keep = slice.signature->offset;
    if (slice.strings) {
        const uint64_t end = slice.strings->offset + slice.strings->size;
        if (plan.keep > end && plan.keep - end <= 12)
            plan.keep = end;
    }
    plan.size = plan.keep;
    plan.signatureOffset = plan.keep;

    setLinkEditSize(slice, plan.head, plan.size, false);
    const auto begin =
        plan.head.begin() + static_cast<std::ptrdiff_t>(slice.signature->commandOffset);
    std::move(begin + sizeof(CodeSignatureCommand), plan.head.end(), begin);
    std::fill(plan.head.end() - sizeof(CodeSignatureCommand), plan.head.end(), std::byte{0});
    setCommands(plan.head, slice.commandCount - 1,
        plan.head.size() - sizeof(CodeSignatureCommand) - headerSize(slice));
    return plan;
}

void writePlanned(
    const bytes::ByteSource& slice, const SlicePlan& plan, bytes::ByteDevice& out, uint64_t offset)
{
    constexpr std::size_t piece = 1U << 20;
    out.writeAt(offset, plan.head);
    std::vector<std::byte> buffer;
    for (uint64_t at = plan.head.size(); at < plan.keep; at += buffer.size()) {
        buffer =
            slice.read(at, static_cast<std::size_t>(std::min<uint64_t>(piece, plan.keep - at)));
        out.writeAt(offset + at, buffer);
    }
}

} // namespace macho
