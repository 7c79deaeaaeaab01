#include "udif/ChunkCodecs.h"

#include "bytes/ByteReader.h"
#include "bytes/FormatError.h"

#include <algorithm>

namespace udif {

namespace {

/// The content decoded so far, and the room for the rest.
class Window {
public:
    explicit Window(std::span<std::byte> content)
        : m_content(content)
    { }

    bool isFull() const { return m_filled == m_content.size(); }

    void append(std::span<const std::byte> literals)
    {
        requireRoom(literals.size());
        std::ranges::copy(literals, m_content.begin() + static_cast<std::ptrdiff_t>(m_filled));
        m_filled += literals.size();
    }

    /// Repeats what lies `distance` bytes back; it may run into its own copy.
    void repeat(std::size_t distance, std::size_t length)
    {
        if (distance > m_filled)
            throw bytes::FormatError("an ADC chunk refers to what lies before it");
        requireRoom(length);
        for (const std::size_t end = m_filled + length; m_filled < end; ++m_filled)
            m_content[m_filled] = m_content[m_filled - distance];
    }

private:
    void requireRoom(std::size_t length) const
    {
        if (length > m_content.size() - m_filled)
            throw bytes::FormatError("an ADC chunk is longer than it should be");
    }

    std::span<std::byte> m_content;
    std::size_t m_filled = 0;
};

/// The first byte's two upper bits say what follows: literals (1x), or a repetition with a distance
/// of ten (00) or sixteen (01) bits.
void decodeAdc(std::span<const std::byte> stored, std::span<std::byte> content)
{
    bytes::ByteReader in(stored);
    Window window(content);
    while (!window.isFull()) {
        const unsigned head = in.u8();
        if ((head & 0x80) != 0) {
            window.append(in.take((head & 0x7F) + 1));
        } else if ((head & 0x40) != 0) {
            window.repeat(std::size_t{in.u16()} + 1, (head & 0x3F) + 4);
        } else {
            const std::size_t distance = (head & 0x03) << 8 | in.u8();
            window.repeat(distance + 1, (head >> 2) + 3);
        }
    }
    if (in.remaining() != 0)
        throw bytes::FormatError("an ADC chunk is longer than it should be");
}

} // namespace

const ChunkCodec adcCodec{ChunkType::adc, "ADC", decodeAdc, nullptr, 0};

} // namespace udif
