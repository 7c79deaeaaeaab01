#pragma once

#include "bytes/StoredInteger.h"

#include <array>

namespace macfile {

/// Bits of the Finder's flags (Apple, "Finder Interface Reference"). What a bit means for files
/// and for folders alike.
namespace finderFlag {
inline constexpr uint16_t onDesk = 0x0001;
inline constexpr uint16_t hiddenExtension = 0x0010;
inline constexpr uint16_t shared = 0x0040;
inline constexpr uint16_t noInits = 0x0080;
inline constexpr uint16_t inited = 0x0100;
inline constexpr uint16_t customIcon = 0x0400;
inline constexpr uint16_t stationery = 0x0800;
inline constexpr uint16_t nameLocked = 0x1000;
inline constexpr uint16_t bundle = 0x2000;
inline constexpr uint16_t invisible = 0x4000;
inline constexpr uint16_t alias = 0x8000;
} // namespace finderFlag

/// The 32 bytes that a Mac keeps for the Finder with each file and folder (Apple TN1150, "Finder
/// Info"). For a folder `type` and `creator` are the window's rectangle.
struct FinderInfo {
    bytes::be32 type, creator;
    bytes::be16 flags;
    bytes::bei16 vertical, horizontal;
    std::array<std::byte, 2> reserved;
    bytes::be32 documentID, dateAdded;
    bytes::be16 extendedFlags;
    std::array<std::byte, 2> reserved2;
    bytes::be32 writeGeneration;

    friend bool operator==(const FinderInfo&, const FinderInfo&) = default;
};
static_assert(sizeof(FinderInfo) == 32 && bytes::isStoredRecord<FinderInfo>);

} // namespace macfile
