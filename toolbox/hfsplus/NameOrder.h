#pragma once

#include <compare>
#include <cstdint>
#include <string_view>

namespace hfsplus {

/// The value by which `unit` takes part in the order of names; 0 for units that take none
/// (Apple TN1150, "HFS Plus Case-Insensitive String Comparison Algorithm").
char16_t folded(char16_t unit);

/// The order of names within a folder; names that are equivalent can't share one. Upper and lower
/// case are alike, an empty name comes first.
std::weak_ordering compareNames(std::u16string_view a, std::u16string_view b);

/// The order of the catalog's keys.
std::weak_ordering compareCatalogKeys(
    uint32_t parentA, std::u16string_view nameA, uint32_t parentB, std::u16string_view nameB);

} // namespace hfsplus
