#include "finder/PropertyList.h"

#include "bytes/ByteWriter.h"
#include "bytes/FormatError.h"
#include "bytes/Unicode.h"

#include <algorithm>
#include <bit>

namespace finder {

using bytes::ByteWriter;
using bytes::FormatError;

namespace {

constexpr uint64_t trailerSortVersionAndPadding = 6;

/// `value` in the low `width` bytes.
void putWidth(ByteWriter& out, uint64_t value, unsigned width)
{
    for (unsigned shift = 8 * width; shift > 0; shift -= 8)
        out.u8(static_cast<uint8_t>(value >> (shift - 8)));
}

unsigned widthFor(uint64_t largest)
{
    return largest <= UINT8_MAX ? 1 : largest <= UINT16_MAX ? 2 : largest <= UINT32_MAX ? 4 : 8;
}

void putInteger(ByteWriter& out, int64_t value)
{
    const unsigned width = value < 0 ? 8 : widthFor(static_cast<uint64_t>(value));
    out.u8(static_cast<uint8_t>(0x10 | std::countr_zero(width)));
    putWidth(out, static_cast<uint64_t>(value), width);
}

void putMarker(ByteWriter& out, unsigned kind, std::size_t count)
{
    out.u8(static_cast<uint8_t>(kind << 4 | std::min<std::size_t>(count, 15)));
    if (count >= 15)
        putInteger(out, static_cast<int64_t>(count));
}

void putText(ByteWriter& out, const std::string& text)
{
    if (std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
        putMarker(out, 5, text.size());
        out.text(text);
        return;
    }
    const auto units = bytes::utf16FromUtf8(text);
    if (!units)
        throw FormatError("a text for a property list that is not UTF-8");
    putMarker(out, 6, units->size());
    out.utf16(*units);
}

struct ValueWriter {
    ByteWriter& out;

    void operator()(std::monostate) const
    {
        throw FormatError("a value that cannot be written to a property list");
    }
    void operator()(bool value) const { out.u8(value ? 0x09 : 0x08); }
    void operator()(int64_t value) const { putInteger(out, value); }
    void operator()(double value) const
    {
        out.u8(0x23);
        out.u64(std::bit_cast<uint64_t>(value));
    }
    void operator()(const std::string& value) const { putText(out, value); }
    void operator()(const std::vector<std::byte>& value) const
    {
        putMarker(out, 4, value.size());
        out.raw(value);
    }
};

} // namespace

std::vector<std::byte> writePropertyList(const PropertyDictionary& dictionary)
{
    const std::size_t count = dictionary.size();
    const unsigned referenceWidth = widthFor(2 * count);
    ByteWriter out;
    std::vector<std::size_t> offsets;
    out.text("bplist00");
    offsets.push_back(out.size());
    putMarker(out, 0xD, count);
    for (std::size_t object = 1; object <= 2 * count; ++object)
        putWidth(out, object, referenceWidth);
    for (const auto& [key, value] : dictionary) {
        offsets.push_back(out.size());
        putText(out, key);
    }
    for (const auto& [key, value] : dictionary) {
        offsets.push_back(out.size());
        std::visit(ValueWriter{out}, value);
    }

    const std::size_t table = out.size();
    const unsigned offsetWidth = widthFor(table);
    for (const std::size_t offset : offsets)
        putWidth(out, offset, offsetWidth);
    out.zeros(trailerSortVersionAndPadding);
    out.u8(static_cast<uint8_t>(offsetWidth));
    out.u8(static_cast<uint8_t>(referenceWidth));
    out.u64(offsets.size());
    out.u64(0);
    out.u64(table);
    return out.take();
}

} // namespace finder
