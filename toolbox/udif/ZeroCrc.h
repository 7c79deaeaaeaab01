#pragma once

#include "bytes/Crc32.h"

#include <cstdint>

namespace udif {

/// The CRC of runs of zero bytes. Remembers the last length: a sparse disk asks for the same one a
/// million times, and each answer takes some twenty polynomial products.
class ZeroCrc {
public:
    uint32_t of(uint64_t length)
    {
        if (length != m_length) {
            m_length = length;
            m_crc = bytes::crc32ThenZeros(0, length);
        }
        return m_crc;
    }

private:
    uint64_t m_length = 0;
    uint32_t m_crc = 0;
};

} // namespace udif
