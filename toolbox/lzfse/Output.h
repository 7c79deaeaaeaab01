#pragma once

#include "bytes/FormatError.h"
#include "lzfse/Limits.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace lzfse {

/// The decoded bytes of a stream, filled from the front. Refuses what would leave it or reach back
/// before its start. Borrows the bytes.
class Output {
public:
    explicit Output(std::span<std::byte> content)
        : m_begin(content.data())
        , m_at(content.data())
        , m_end(content.data() + content.size())
    { }

    std::size_t size() const { return static_cast<std::size_t>(m_at - m_begin); }

    /// `literals` of which `length` are meant; after these, `copySlack` bytes must be readable.
    void appendLiterals(const std::byte* literals, std::size_t length)
    {
        if (room() >= length + copySlack) {
            std::byte* to = m_at;
            m_at += length;
            for (; to < m_at; to += 16, literals += 16)
                std::memcpy(to, literals, 16);
        } else {
            append({literals, length});
        }
    }

    void append(std::span<const std::byte> content)
    {
        if (room() < content.size())
            failFull();
        m_at = std::copy(content.begin(), content.end(), m_at);
    }

    /// Appends what lies `distance` bytes back; copies its own result where they overlap.
    void appendMatch(uint32_t distance, std::size_t length)
    {
        if (distance == 0 || distance > size())
            throw bytes::FormatError("an LZFSE match reaches back before the start");
        if (room() >= length + copySlack)
            copyWithSlack(distance, length);
        else
            copyExactly(distance, length);
    }

private:
    std::size_t room() const { return static_cast<std::size_t>(m_end - m_at); }

    [[noreturn]] static void failFull()
    {
        throw bytes::FormatError("an LZFSE stream decodes to more than it should");
    }

    void copyWithSlack(std::size_t distance, std::size_t length)
    {
        std::byte* to = m_at;
        m_at += length;
        if (distance >= 16) {
            for (; to < m_at; to += 16)
                std::memcpy(to, to - distance, 16);
            return;
        }
        // A multiple of the distance is as good, and lets eight bytes be copied at a time.
        for (int i = 0; i < 8; ++i)
            to[i] = to[i - static_cast<std::ptrdiff_t>(distance)];
        const std::size_t repeated = (8 + distance - 1) / distance * distance;
        for (to += 8; to < m_at; to += 8)
            std::memcpy(to, to - repeated, 8);
    }

    void copyExactly(std::size_t distance, std::size_t length)
    {
        if (room() < length)
            failFull();
        for (std::byte* const end = m_at + length; m_at < end; ++m_at)
            *m_at = *(m_at - distance);
    }

    std::byte* m_begin;
    std::byte* m_at;
    std::byte* m_end;
};

} // namespace lzfse
