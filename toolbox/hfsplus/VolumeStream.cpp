#include "hfsplus/VolumeStream.h"

#include "bytes/SparseWrite.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace hfsplus {

namespace {

constexpr std::size_t bufferSize = std::size_t{1} << 20;

} // namespace

VolumeStream::VolumeStream(bytes::ByteDevice& device, uint64_t start)
    : m_device(device)
    , m_start(start)
    , m_buffer(bufferSize)
{ }

std::span<std::byte> VolumeStream::room()
{
    if (m_filled == m_buffer.size())
        flush();
    return std::span(m_buffer).subspan(m_filled);
}

void VolumeStream::write(std::span<const std::byte> data)
{
    while (!data.empty()) {
        const std::span<std::byte> place = room();
        const std::size_t count = std::min(place.size(), data.size());
        std::memcpy(place.data(), data.data(), count);
        advance(count);
        data = data.subspan(count);
    }
}

void VolumeStream::seek(uint64_t position)
{
    assert(position >= this->position());
    const uint64_t gap = position - this->position();
    if (m_filled != 0 && gap < m_buffer.size() - m_filled) {
        std::fill_n(m_buffer.begin() + static_cast<std::ptrdiff_t>(m_filled), gap, std::byte{});
        m_filled += gap;
        return;
    }
    flush();
    m_start = position;
}

void VolumeStream::flush()
{
    bytes::writeSparsely(m_device, m_start, std::span(m_buffer).first(m_filled));
    m_start += m_filled;
    m_filled = 0;
}

} // namespace hfsplus
