#include "bytes/Crc32.h"

#include <array>
#include <libdeflate.h>
#include <zlib.h>

namespace bytes {

uint32_t crc32(std::span<const std::byte> data, uint32_t before)
{
    return libdeflate_crc32(before, data.data(), data.size());
}

uint32_t crc32Joined(uint32_t first, uint32_t second, uint64_t length)
{
    return static_cast<uint32_t>(::crc32_combine(first, second, static_cast<z_off_t>(length)));
}

uint32_t crc32ThenZeros(uint32_t before, uint64_t count)
{
    // CRC of 2^n zeros by doubling; joined for the bits of `count`.
    static constexpr std::array<std::byte, 1> zero{};
    uint32_t power = crc32(zero);
    uint32_t result = before;
    for (uint64_t length = 1; count != 0; count >>= 1, length <<= 1) {
        if ((count & 1) != 0)
            result = crc32Joined(result, power, length);
        power = crc32Joined(power, power, length);
    }
    return result;
}

} // namespace bytes
