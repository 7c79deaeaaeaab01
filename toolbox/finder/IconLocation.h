#pragma once

#include "bytes/FormatError.h"
#include "bytes/StoredInteger.h"

#include <array>
#include <vector>

namespace finder {

/// The `Iloc` record: the centre of an icon in points from the upper left of its window's icon
/// area.
struct IconLocation {
    int32_t x = 0, y = 0;

    friend bool operator==(const IconLocation&, const IconLocation&) = default;
};

struct StoredIconLocation {
    bytes::bei32 x, y;
    std::array<uint8_t, 8> rest{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0}; // as a Finder has it
};
static_assert(sizeof(StoredIconLocation) == 16 && bytes::isStoredRecord<StoredIconLocation>);

inline std::vector<std::byte> writeIconLocation(const IconLocation& location)
{
    const StoredIconLocation stored{location.x, location.y};
    const auto raw = bytes::recordBytes(stored);
    return {raw.begin(), raw.end()};
}

/// Throws FormatError for a blob that is not of 16 bytes.
inline IconLocation readIconLocation(std::span<const std::byte> blob)
{
    if (blob.size() != sizeof(StoredIconLocation))
        throw bytes::FormatError("an icon's place of " + std::to_string(blob.size()) + " bytes");
    const auto stored = bytes::recordAt<StoredIconLocation>(blob);
    return {stored.x, stored.y};
}

} // namespace finder
