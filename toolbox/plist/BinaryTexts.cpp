#include "plist/BinaryTexts.h"

#include "bytes/ByteReader.h"
#include "bytes/FormatError.h"

#include <string>

namespace plist {

using bytes::ByteReader;
using bytes::FormatError;

namespace {

constexpr std::size_t trailerBytes = 32, countsAt = 6;
constexpr uint64_t mostShared = 16;

uint64_t number(ByteReader& in, std::size_t width)
{
    uint64_t value = 0;
    for (; width != 0; --width)
        value = value << 8 | in.u8();
    return value;
}

/// How many characters the text has whose marker was read.
uint64_t lengthOf(uint8_t marker, ByteReader& in)
{
    if ((marker & 0xF) != 0xF)
        return marker & 0xF;
    return number(in, std::size_t{1} << (in.u8() & 3));
}

bool hasNul(std::span<const std::byte> text, std::size_t unit)
{
    for (std::size_t at = 0; at + unit <= text.size(); at += unit) {
        if (text[at] == std::byte{} && text[at + unit - 1] == std::byte{})
            return true;
    }
    return false;
}

} // namespace

void requireSoundTexts(std::span<const std::byte> raw)
{
    if (raw.size() < trailerBytes)
        throw FormatError("a binary property list without a trailer", raw.size());
    ByteReader trailer(raw.last(trailerBytes).subspan(countsAt));
    const std::size_t width = trailer.u8();
    trailer.u8();
    const uint64_t count = number(trailer, 8);
    number(trailer, 8);
    const uint64_t table = number(trailer, 8);
    if (width == 0 || width > 8 || table > raw.size() || count > (raw.size() - table) / width)
        throw FormatError("a property list's objects lie outside it", raw.size());

    ByteReader offsets(raw.subspan(static_cast<std::size_t>(table)));
    uint64_t budget = mostShared * raw.size();
    for (uint64_t i = 0; i < count; ++i) {
        const uint64_t at = number(offsets, width);
        if (at >= raw.size())
            throw FormatError("an object of a property list lies outside it", at);
        ByteReader in(raw.subspan(static_cast<std::size_t>(at)));
        const uint8_t marker = in.u8();
        if (marker >> 4 != 5 && marker >> 4 != 6)
            continue;
        const std::size_t unit = marker >> 4 == 6 ? 2 : 1;
        const uint64_t length = lengthOf(marker, in);
        if (length > in.remaining() / unit || length * unit > budget)
            throw FormatError("a text of a property list is too long", at);
        budget -= length * unit;
        if (hasNul(in.take(static_cast<std::size_t>(length) * unit), unit))
            throw FormatError("a text of a property list holds a NUL", at);
    }
}

} // namespace plist
