#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace udif {

/// One entry of the 'blkx' array: a block table with its name.
struct BlockResource {
    int32_t id = 0;
    std::string name{}; // UTF-8
    std::vector<std::byte> data{}; // the 'mish' record

    friend bool operator==(const BlockResource&, const BlockResource&) = default;
};

inline constexpr uint64_t propertyListLimit = uint64_t{64} << 20;
inline constexpr std::size_t blockResourceLimit = 4096;

/// The block tables of an image's property list, in its order; other resources are passed over.
/// Throws FormatError for what is no such list, or is beyond the limits.
std::vector<BlockResource> readPropertyList(std::span<const std::byte> xml);

/// An XML property list in the form that a Mac writes: tabs, base64 in lines of 44.
std::string writePropertyList(std::span<const BlockResource> resources);

} // namespace udif
