#pragma once

#include "bytes/StoredInteger.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace lzfse {

/// The mirror of PayloadReader: what is pushed last is pulled first.
class PayloadWriter {
public:
    static constexpr unsigned bitsPerFlush = 57;

    explicit PayloadWriter(std::size_t largestSize)
        : m_out(largestSize + sizeof(uint64_t))
    { }

    void append(std::size_t zeroBytes) { m_size += zeroBytes; }

    /// The low `count` bits of `value`, at most 32.
    void push(uint32_t value, uint32_t count)
    {
        m_bits |= (value & ((uint64_t{1} << count) - 1)) << m_count;
        m_count += count;
    }

    /// Makes room for `bitsPerFlush` more bits.
    void flush()
    {
        const bytes::le64 word = m_bits;
        std::memcpy(m_out.data() + m_size, &word, sizeof word);
        m_size += m_count / 8;
        m_bits >>= m_count / 8 * 8;
        m_count %= 8;
        assert(m_size + sizeof word <= m_out.size());
    }

    /// Ends the payload. Returns how many bits of the last byte are not used, as a negative number.
    int finish()
    {
        flush();
        if (m_count == 0)
            return 0;
        ++m_size; // the last flush stored it
        return static_cast<int>(m_count) - 8;
    }

    std::span<const std::byte> bytes() const { return std::span(m_out).first(m_size); }

private:
    std::vector<std::byte> m_out;
    std::size_t m_size = 0;
    uint64_t m_bits = 0;
    unsigned m_count = 0;
};

} // namespace lzfse
