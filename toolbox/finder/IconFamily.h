#pragma once

#include "finder/FourCC.h"

#include <cstddef>
#include <span>
#include <vector>

namespace finder {

/// One picture (or table) of an `icns` file; borrows the file's bytes.
struct IconElement {
    FourCC type; // "ic10", "il32", "TOC ", ...
    std::span<const std::byte> data;
};

/// All elements in their order. Throws FormatError when lengths don't add up; what follows the
/// stated end is ignored. The pictures themselves are not looked at.
std::vector<IconElement> readIconFamily(std::span<const std::byte> raw);

/// True for a sound `icns` file with at least one picture in it.
bool isIconFamily(std::span<const std::byte> raw);

} // namespace finder
