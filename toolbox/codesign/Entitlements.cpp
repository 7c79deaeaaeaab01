#include "codesign/Entitlements.h"

#include "bytes/ByteWriter.h"
#include "bytes/FormatError.h"
#include "plist/PropertyList.h"

namespace codesign {

namespace {

using Der = std::vector<std::byte>;

enum Tag : uint8_t {
    tagBoolean = 0x01,
    tagInteger = 0x02,
    tagText = 0x0C,
    tagSequence = 0x30,
    tagWhole = 0x70, // application 16, constructed
    tagDictionary = 0xB0, // context 16, constructed
};

[[noreturn]] void refuse()
{
    throw bytes::FormatError("invalid entitlement plist");
}

Der element(uint8_t tag, std::span<const std::byte> content)
{
    bytes::ByteWriter out;
    out.u8(tag);
    const std::size_t size = content.size();
    if (size < 0x80) {
        out.u8(static_cast<uint8_t>(size));
    } else if (size < 0x100) {
        out.u8(0x81);
        out.u8(static_cast<uint8_t>(size));
    } else if (size < 0x10000) {
        out.u8(0x82);
        out.u16(static_cast<uint16_t>(size));
    } else {
        out.u8(0x84);
        out.u32(static_cast<uint32_t>(size));
    }
    out.raw(content);
    return out.take();
}

Der text(const std::string& value)
{
    return element(tagText, std::as_bytes(std::span(value)));
}

/// Two's complement in the fewest bytes.
Der integer(int64_t value)
{
    bytes::ByteWriter whole;
    whole.u64(static_cast<uint64_t>(value));
    std::span<const std::byte> shortest = whole.bytes();
    const auto isSpare = [&] {
        const auto first = std::to_integer<unsigned>(shortest[0]);
        const bool nextNegative = (std::to_integer<unsigned>(shortest[1]) & 0x80) != 0;
        return (first == 0 && !nextNegative) || (first == 0xFF && nextNegative);
    };
    while (shortest.size() > 1 && isSpare())
        shortest = shortest.subspan(1);
    return element(tagInteger, shortest);
}

Der derOf(const plist::Value& value);

Der dictionary(const plist::Dictionary& entries)
{
    bytes::ByteWriter out;
    for (const auto& [key, value] : entries) {
        bytes::ByteWriter entry;
        entry.raw(text(key));
        entry.raw(derOf(value));
        out.raw(element(tagSequence, entry.bytes()));
    }
    return element(tagDictionary, out.bytes());
}

Der derOf(const plist::Value& value)
{
    if (const auto* boolean = value.as<bool>()) {
        const std::byte content{static_cast<uint8_t>(*boolean ? 0xFF : 0)};
        return element(tagBoolean, std::span(&content, 1));
    }
    if (const auto* number = value.as<int64_t>())
        return integer(*number);
    if (const auto* string = value.as<std::string>())
        return text(*string);
    if (const auto* entries = value.as<plist::Dictionary>())
        return dictionary(*entries);
    const auto* array = value.as<plist::Array>();
    if (array == nullptr)
        refuse();
    bytes::ByteWriter out;
    for (const plist::Value& item : *array)
        out.raw(derOf(item));
    return element(tagSequence, out.bytes());
}

struct ExecutableFlag {
    const char* entitlement;
    uint64_t bit;
};

constexpr ExecutableFlag executableBits[] = {
    {"get-task-allow", 0x10},
    {"run-unsigned-code", 0x10},
    {"com.apple.private.cs.debugger", 0x20},
    {"dynamic-codesigning", 0x40},
    {"com.apple.private.skip-library-validation", 0x80},
    {"com.apple.private.amfi.can-load-cdhash", 0x100},
    {"com.apple.private.amfi.can-execute-cdhash", 0x200},
};

} // namespace

Entitlements Entitlements::read(std::span<const std::byte> propertyList)
{
    Entitlements entitlements;
    entitlements.xml.assign(propertyList.begin(), propertyList.end());
    try {
        entitlements.value = plist::read(propertyList);
    } catch (const bytes::FormatError&) {
        refuse();
    }
    if (entitlements.value.as<plist::Dictionary>() == nullptr)
        refuse();
    derOf(entitlements.value);
    return entitlements;
}

Blob Entitlements::xmlBlob() const
{
    return makeBlob(Magic::entitlements, xml);
}

Blob Entitlements::derBlob() const
{
    bytes::ByteWriter out;
    out.raw(integer(1));
    out.raw(derOf(value));
    return makeBlob(Magic::derEntitlements, element(tagWhole, out.bytes()));
}

uint64_t Entitlements::executableFlags() const
{
    uint64_t flags = 0;
    for (const ExecutableFlag& row : executableBits) {
        const auto* allowed = value.find<bool>(row.entitlement);
        if (allowed != nullptr && *allowed)
            flags |= row.bit;
    }
    return flags;
}

} // namespace codesign
