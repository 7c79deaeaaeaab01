#include "hfsplus/TreeKeys.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"
#include "hfsplus/NameOrder.h"
#include "hfsplus/Records.h"

#include <tuple>

namespace hfsplus {

namespace {

struct ExtentOrder {
    uint32_t file;
    uint8_t forkType;
    uint32_t startBlock;
    auto operator<=>(const ExtentOrder&) const = default;
};

ExtentOrder extentOrder(std::span<const std::byte> key)
{
    const auto stored = bytes::ByteReader(key).record<ExtentKey>();
    return {stored.fileID, stored.forkType, stored.startBlock};
}

} // namespace

std::vector<std::byte> catalogKey(uint32_t parent, std::u16string_view name)
{
    bytes::ByteWriter out;
    out.u16(static_cast<uint16_t>(6 + 2 * name.size()));
    out.u32(parent);
    out.u16(static_cast<uint16_t>(name.size()));
    out.utf16(name);
    return out.take();
}

CatalogKey readCatalogKey(std::span<const std::byte> key)
{
    bytes::ByteReader in(key);
    in.skip(2);
    CatalogKey out{.parent = in.u32(), .name = {}};
    out.name = in.utf16(in.u16());
    return out;
}

bool catalogKeyLess(std::span<const std::byte> a, std::span<const std::byte> b)
{
    const CatalogKey left = readCatalogKey(a), right = readCatalogKey(b);
    return compareCatalogKeys(left.parent, left.name, right.parent, right.name) < 0;
}

bool binaryCatalogKeyLess(std::span<const std::byte> a, std::span<const std::byte> b)
{
    const CatalogKey left = readCatalogKey(a), right = readCatalogKey(b);
    return std::tie(left.parent, left.name) < std::tie(right.parent, right.name);
}

std::vector<std::byte> attributeKey(uint32_t file, std::u16string_view name, uint32_t startBlock)
{
    bytes::ByteWriter out;
    out.u16(static_cast<uint16_t>(12 + 2 * name.size()));
    out.u16(0);
    out.u32(file);
    out.u32(startBlock);
    out.u16(static_cast<uint16_t>(name.size()));
    out.utf16(name);
    return out.take();
}

AttributeKey readAttributeKey(std::span<const std::byte> key)
{
    bytes::ByteReader in(key);
    in.skip(4);
    AttributeKey out{.file = in.u32(), .startBlock = in.u32(), .name = {}};
    out.name = in.utf16(in.u16());
    return out;
}

bool attributeKeyLess(std::span<const std::byte> a, std::span<const std::byte> b)
{
    const AttributeKey left = readAttributeKey(a), right = readAttributeKey(b);
    return std::tie(left.file, left.name, left.startBlock)
        < std::tie(right.file, right.name, right.startBlock);
}

std::vector<std::byte> extentKey(uint32_t file, uint8_t forkType, uint32_t startBlock)
{
    ExtentKey key{};
    key.keyLength = maximumExtentKey;
    key.forkType = forkType;
    key.fileID = file;
    key.startBlock = startBlock;
    const auto raw = bytes::recordBytes(key);
    return {raw.begin(), raw.end()};
}

bool extentKeyLess(std::span<const std::byte> a, std::span<const std::byte> b)
{
    return extentOrder(a) < extentOrder(b);
}

} // namespace hfsplus
