#include "hfsplus/VolumeStream.h"

#include "bytes/Zeros.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace hfsplus {

namespace {

constexpr std::size_t bufferSize = std::size_t{4} << 20;
/// What a sparse file allocates at least.
constexpr std::size_t grain = 4096;

/// Writes the runs of grains that are not all zero.
void writeSparsely(bytes::ByteDevice& device, uint64_t offset, std::span<const std::byte> data)
{
    std::size_t runStart = 0;
    const auto writeRun = [&](std::size_t end) {
        if (runStart < end)
            device.writeAt(offset + runStart, data.subspan(runStart, end - runStart));
    };
    for (std::size_t at = 0; at < data.size(); at += grain) {
        const std::size_t size = std::min(grain, data.size() - at);
        if (!bytes::isZero(data.subspan(at, size)))
            continue;
        writeRun(at);
        runStart = at + size;
    }
    writeRun(data.size());
}

} // namespace

VolumeStream::VolumeStream(bytes::ByteDevice& device, uint64_t start)
    : m_device(device)
    , m_start(start)
    , m_filling(bufferSize)
    , m_writing(bufferSize)
{ }

VolumeStream::~VolumeStream()
{
    if (m_written.valid())
        m_written.wait();
}

std::span<std::byte> VolumeStream::room()
{
    if (m_filled == m_filling.size())
        flush();
    return std::span(m_filling).subspan(m_filled);
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
    if (gap < m_filling.size() - m_filled) {
        std::fill_n(m_filling.begin() + static_cast<std::ptrdiff_t>(m_filled), gap, std::byte{});
        m_filled += gap;
        return;
    }
    flush();
    m_start = position;
}

void VolumeStream::finish()
{
    flush();
    if (m_written.valid())
        m_written.get();
}

void VolumeStream::flush()
{
    if (m_written.valid())
        m_written.get();
    if (m_filled == 0)
        return;
    std::swap(m_filling, m_writing);
    const std::span<const std::byte> data(m_writing.data(), m_filled);
    const uint64_t offset = m_start;
    m_start += m_filled;
    m_filled = 0;
    m_written = std::async(
        std::launch::async, [this, offset, data] { writeSparsely(m_device, offset, data); });
}

} // namespace hfsplus
