#pragma once

#include "bytes/FormatError.h"
#include "bytes/StoredInteger.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace lzfse {

/// Pulls bits from the end of a payload towards its start. Eight bytes before the payload must be
/// readable; a block's header always is. Borrows the bytes.
class PayloadReader {
public:
    static constexpr unsigned bitsPerRefill = 57;

    /// `unusedBits` of the last byte, 0 to 7, are not part of the payload and must be zero.
    PayloadReader(std::span<const std::byte> payload, unsigned unusedBits)
        : m_start(payload.data())
        , m_left(static_cast<int64_t>(payload.size()) * 8 - unusedBits)
    {
        if (m_left < 0
            || (unusedBits != 0 && static_cast<unsigned>(payload.back()) >> (8 - unusedBits) != 0))
            throw bytes::FormatError("an LZFSE payload doesn't end as its block says");
    }

    /// Makes `bitsPerRefill` bits ready to be pulled. Throws when more were pulled than there are.
    void refill()
    {
        if (m_left < 0)
            throw bytes::FormatError("an LZFSE payload is too short");
        const int64_t end = (m_left + 7) / 8;
        bytes::le64 word;
        std::memcpy(&word, m_start + end - 8, sizeof word);
        m_bits = word.value() << (end * 8 - m_left);
    }

    uint32_t pull(unsigned count)
    {
        const uint64_t bits = m_bits >> 1 >> (63 - count);
        m_bits <<= count;
        m_left -= count;
        return static_cast<uint32_t>(bits);
    }

    /// Throws when more was pulled than there is.
    void finish() const
    {
        if (m_left < 0)
            throw bytes::FormatError("an LZFSE payload is too short");
    }

private:
    const std::byte* m_start;
    int64_t m_left; // bits
    uint64_t m_bits = 0; // the next one on top
};

} // namespace lzfse
