#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace fuzz {

/// Volumes are mostly zeros, and fuzzers want short inputs: an input is the number of sectors (16
/// bits), then pieces of an offset (32 bits), a length (16 bits) and that many bytes, all
/// little-endian. Any bytes are some volume: pieces outside it are passed over.
std::vector<std::byte> expanded(std::span<const std::byte> input);

/// The input for `volume`, which has a whole number of sectors and a mebibyte at most.
std::vector<std::byte> packed(std::span<const std::byte> volume);

} // namespace fuzz
