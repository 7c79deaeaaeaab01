#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Keys of the three trees, made, read and compared (Apple TN1150). A key is a span of bytes that
/// starts with its length field; one that is too short for its tree throws bytes::FormatError.
namespace hfsplus {

struct CatalogKey {
    uint32_t parent = 0;
    std::u16string name;
};

std::vector<std::byte> catalogKey(uint32_t parent, std::u16string_view name);
CatalogKey readCatalogKey(std::span<const std::byte> key);
/// The order of HFS+, names folded.
bool catalogKeyLess(std::span<const std::byte> a, std::span<const std::byte> b);
/// The order of a case-sensitive HFSX volume.
bool binaryCatalogKeyLess(std::span<const std::byte> a, std::span<const std::byte> b);

struct AttributeKey {
    uint32_t file = 0;
    uint32_t startBlock = 0;
    std::u16string name;
};

std::vector<std::byte> attributeKey(
    uint32_t file, std::u16string_view name, uint32_t startBlock = 0);
AttributeKey readAttributeKey(std::span<const std::byte> key);
bool attributeKeyLess(std::span<const std::byte> a, std::span<const std::byte> b);

std::vector<std::byte> extentKey(uint32_t file, uint8_t forkType, uint32_t startBlock);
bool extentKeyLess(std::span<const std::byte> a, std::span<const std::byte> b);

} // namespace hfsplus
