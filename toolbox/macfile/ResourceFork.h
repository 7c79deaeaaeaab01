#pragma once

#include "bytes/StoredInteger.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace macfile {

/// Four bytes that name a kind of resource, e.g. "icns".
using ResourceType = std::array<char, 4>;

struct Resource {
    ResourceType type{};
    int16_t id = 0;
    std::optional<std::string> name; // bytes as stored, at most 255
    uint8_t attributes = 0;
    std::vector<std::byte> data;

    friend bool operator==(const Resource&, const Resource&) = default;
};

/// All resources in the order of the map (Apple, "Inside Macintosh: More Macintosh Toolbox",
/// "Resource File Format"). An empty fork has none. Throws FormatError.
std::vector<Resource> readResourceFork(std::span<const std::byte> fork);

/// Resources of one type are put together, in the order of each type's first. Throws FormatError
/// when the format's limits are passed: 16 MiB of data, 64 KiB of map tables.
std::vector<std::byte> writeResourceFork(std::span<const Resource> resources);

/// The fork without resources that a Mac puts into AppleDouble files that need none.
std::vector<std::byte> fillerFork();
bool isFillerFork(std::span<const std::byte> fork);

} // namespace macfile
