#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace bytes {

/// CRC-32 as zlib defines it (reflected 0xEDB88320; "123456789" gives 0xCBF43926), continued from
/// `before`.
uint32_t crc32(std::span<const std::byte> data, uint32_t before = 0);

/// The CRC of a run joined with a second run of `length` bytes whose own CRC is `second`.
uint32_t crc32Joined(uint32_t first, uint32_t second, uint64_t length);

/// The CRC of a run followed by `count` zero bytes, in logarithmic time.
uint32_t crc32ThenZeros(uint32_t before, uint64_t count);

} // namespace bytes
