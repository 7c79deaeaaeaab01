#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace finder {

/// What an icon view draws behind its icons.
struct Background {
    enum class Kind : int64_t { none = 0, colour = 1, picture = 2 };

    Kind kind = Kind::none;
    double red = 1, green = 1, blue = 1;
    std::vector<std::byte> alias; // encoded, see AliasRecord.h; of a picture only

    friend bool operator==(const Background&, const Background&) = default;
};

/// The `icvp` record: how a folder looks in icon view. The defaults are a new window's. Sizes and
/// distances are in points.
struct IconViewSettings {
    Background background;
    double iconSize = 64;
    double textSize = 12;
    double gridSpacing = 100;
    double gridOffsetX = 0, gridOffsetY = 0;
    double scrollPositionX = 0, scrollPositionY = 0;
    /// none, grid, name, dateModified, dateCreated, size, kind or label.
    std::string arrangeBy = "none";
    bool labelOnBottom = true;
    bool showIconPreview = true;
    bool showItemInfo = false;

    friend bool operator==(const IconViewSettings&, const IconViewSettings&) = default;
};

/// Every key that a Finder wants to see; it discards the whole record when one is missing.
std::vector<std::byte> writeIconViewSettings(const IconViewSettings& settings);

/// Keys that are missing leave their defaults. Throws FormatError for a broken list and for a
/// value of the wrong type.
IconViewSettings readIconViewSettings(std::span<const std::byte> blob);

} // namespace finder
