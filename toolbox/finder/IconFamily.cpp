#include "finder/IconFamily.h"

#include "bytes/ByteReader.h"
#include "bytes/FormatError.h"

#include <algorithm>
#include <array>

namespace finder {

namespace {

constexpr FourCC magic = "icns";
constexpr std::size_t headSize = 8; // a type and a length that counts these bytes too
constexpr std::array<FourCC, 2> otherThanPictures{"TOC ", "info"};

std::span<const std::byte> bodyOf(bytes::ByteReader& in)
{
    const uint32_t length = in.u32();
    if (length < headSize)
        in.fail("an icon element of " + std::to_string(length) + " bytes");
    return in.take(length - headSize);
}

} // namespace

std::vector<IconElement> readIconFamily(std::span<const std::byte> raw)
{
    bytes::ByteReader file(raw);
    if (file.u32() != magic.value)
        throw bytes::FormatError("no icns file", 0);
    bytes::ByteReader in(bodyOf(file), headSize);
    std::vector<IconElement> elements;
    while (!in.atEnd()) {
        const FourCC type(in.u32());
        elements.push_back({type, bodyOf(in)});
    }
    return elements;
}

bool isIconFamily(std::span<const std::byte> raw)
{
    try {
        return std::ranges::any_of(readIconFamily(raw), [](const IconElement& element) {
            return std::ranges::find(otherThanPictures, element.type) == otherThanPictures.end();
        });
    } catch (const bytes::FormatError&) {
        return false;
    }
}

} // namespace finder
