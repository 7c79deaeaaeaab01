#pragma once

#include "bytes/StoredInteger.h"
#include "finder/FourCC.h"

#include <array>

/// The fixed records of a `.DS_Store` and its types of values. Offsets in the file count from its
/// byte 4, behind a prefix; blocks are powers of two in size, at multiples of their size.
namespace finder::storeFormat {

using bytes::be32;

inline constexpr uint32_t prefix = 1;
inline constexpr std::size_t prefixSize = 4;
inline constexpr FourCC magic = "Bud1";
inline constexpr FourCC treeName = "DSDB"; // of the one entry in the table of contents
inline constexpr uint32_t pageSize = 0x1000;
inline constexpr unsigned pageWidth = 12;
inline constexpr unsigned smallestWidth = 5;
inline constexpr unsigned spaceWidth = 31; // blocks lie in a space of 2^31 bytes
inline constexpr std::size_t addressesPerStep = 256; // the table of blocks grows by so many

struct Header {
    be32 magic, rootOffset, rootSize, rootOffsetAgain;
    std::array<be32, 4> leftover;
};
static_assert(sizeof(Header) == 32 && bytes::isStoredRecord<Header>);

struct TreeHeader {
    be32 rootNode; // block number
    be32 levelsAboveLeaves, recordCount, nodeCount, pageSize;
};
static_assert(sizeof(TreeHeader) == 20 && bytes::isStoredRecord<TreeHeader>);

/// How the bytes of a value are counted: `size` bytes, or as many units of `size` bytes as a
/// 32-bit count in front of them says.
struct ValueType {
    FourCC type;
    std::size_t size;
    bool counted;
};

inline constexpr std::array valueTypes{
    ValueType{"bool", 1, false},
    ValueType{"long", 4, false},
    ValueType{"shor", 4, false},
    ValueType{"type", 4, false},
    ValueType{"comp", 8, false},
    ValueType{"dutc", 8, false},
    ValueType{"null", 0, false},
    ValueType{"ustr", 2, true},
    ValueType{"blob", 1, true},
    ValueType{"book", 1, true},
};

/// Null for a type that nobody knows.
constexpr const ValueType* valueType(FourCC type)
{
    for (const ValueType& row : valueTypes)
        if (row.type == type)
            return &row;
    return nullptr;
}

} // namespace finder::storeFormat
