#pragma once

#include "hfsplus/VolumeRecords.h"

/// B-trees and their keys (Apple TN1150, "B-Trees").
namespace hfsplus {

inline constexpr int8_t leafNode = -1, indexNode = 0, headerNode = 1, mapNode = 2;

struct NodeDescriptor {
    be32 fLink, bLink; // neighbours of the same level, 0 = none
    int8_t kind; // leafNode ... mapNode
    uint8_t height; // 1 for leaves
    be16 numRecords;
    be16 reserved;
};
static_assert(sizeof(NodeDescriptor) == 14 && isStoredRecord<NodeDescriptor>);

inline constexpr uint8_t foldingKeys = 0xCF, binaryKeys = 0xBC;
inline constexpr uint32_t treeBigKeys = 2, treeVariableIndexKeys = 4;
/// Where the header node's three records lie; the map ends 8 bytes before the node does.
inline constexpr uint32_t headerRecordOffset = 14, userDataOffset = 120, headerMapOffset = 248;

/// The header node's first record.
struct TreeHeader {
    be16 treeDepth;
    be32 rootNode, leafRecords, firstLeafNode, lastLeafNode;
    be16 nodeSize, maxKeyLength;
    be32 totalNodes, freeNodes;
    be16 reserved1;
    be32 clumpSize;
    uint8_t btreeType;
    uint8_t keyCompareType; // foldingKeys or binaryKeys in a catalog, else 0
    be32 attributes;
    std::array<be32, 16> reserved;
};
static_assert(sizeof(TreeHeader) == 106 && isStoredRecord<TreeHeader>);

inline constexpr uint16_t maximumCatalogKey = 516, maximumExtentKey = 10, maximumAttributeKey = 266;

/// The head of a catalog key; `nameUnits` UTF-16BE units follow.
struct CatalogKeyHead {
    be16 keyLength; // 6 + 2 * nameUnits
    be32 parentID;
    be16 nameUnits;
};
static_assert(sizeof(CatalogKeyHead) == 8 && isStoredRecord<CatalogKeyHead>);

inline constexpr uint8_t dataForkType = 0, resourceForkType = 0xFF;

/// Key of the extents tree; its data is an ExtentRecord.
struct ExtentKey {
    be16 keyLength; // 10
    uint8_t forkType, pad;
    be32 fileID;
    be32 startBlock; // within the fork
};
static_assert(sizeof(ExtentKey) == 12 && isStoredRecord<ExtentKey>);

/// The head of a key of the attributes tree; `nameUnits` UTF-16BE units follow.
struct AttributeKeyHead {
    be16 keyLength; // 12 + 2 * nameUnits
    be16 pad;
    be32 fileID, startBlock;
    be16 nameUnits; // up to 127
};
static_assert(sizeof(AttributeKeyHead) == 14 && isStoredRecord<AttributeKeyHead>);

inline constexpr uint32_t maximumAttributeNameUnits = 127;
inline constexpr uint32_t attributeInline = 0x10, attributeFork = 0x20, attributeExtents = 0x30;

/// A value in the node itself: `size` bytes follow, padded to an even length.
struct AttributeInlineHead {
    be32 recordType, reserved1, reserved2, size;
};
static_assert(sizeof(AttributeInlineHead) == 16 && isStoredRecord<AttributeInlineHead>);

/// The largest value that may lie in a node, so that two records always fit.
constexpr uint32_t largestInlineAttribute(uint32_t nodeSize)
{
    constexpr uint32_t overhead = maximumAttributeKey + 2 + sizeof(AttributeInlineHead);
    return ((nodeSize - uint32_t{sizeof(NodeDescriptor)} - 6) / 2 - overhead) & ~1U;
}

/// A value in blocks of its own.
struct AttributeForkRecord {
    be32 recordType, reserved;
    ForkData fork;
};
static_assert(sizeof(AttributeForkRecord) == 88 && isStoredRecord<AttributeForkRecord>);

/// What a fork of more than eight extents goes on with.
struct AttributeExtentsRecord {
    be32 recordType, reserved;
    ExtentRecord extents;
};
static_assert(sizeof(AttributeExtentsRecord) == 72 && isStoredRecord<AttributeExtentsRecord>);

} // namespace hfsplus
