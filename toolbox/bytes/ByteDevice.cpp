#include "bytes/ByteDevice.h"

#include "bytes/FormatError.h"

#include <cstring>

namespace bytes {

namespace {

void requireInside(uint64_t size, uint64_t offset, uint64_t count)
{
    if (offset > size || size - offset < count)
        throw FormatError("a range of " + std::to_string(count) + " bytes leaves the "
                + std::to_string(size) + " bytes that there are",
            offset);
}

} // namespace

std::vector<std::byte> ByteSource::read(uint64_t offset, std::size_t count) const
{
    requireInside(size(), offset, count);
    std::vector<std::byte> out(count);
    readAt(offset, out);
    return out;
}

SourceRange::SourceRange(const ByteSource& whole, uint64_t start, uint64_t length)
    : m_whole(whole)
    , m_start(start)
    , m_length(length)
{
    requireInside(whole.size(), start, length);
}

void SourceRange::readAt(uint64_t offset, std::span<std::byte> out) const
{
    requireInside(m_length, offset, out.size());
    m_whole.readAt(m_start + offset, out);
}

DeviceRange::DeviceRange(ByteDevice& whole, uint64_t start, uint64_t length)
    : m_whole(whole)
    , m_start(start)
    , m_length(length)
{
    requireInside(whole.size(), start, length);
}

void DeviceRange::readAt(uint64_t offset, std::span<std::byte> out) const
{
    requireInside(m_length, offset, out.size());
    m_whole.readAt(m_start + offset, out);
}

void DeviceRange::writeAt(uint64_t offset, std::span<const std::byte> in)
{
    requireInside(m_length, offset, in.size());
    m_whole.writeAt(m_start + offset, in);
}

void MemoryDevice::readAt(uint64_t offset, std::span<std::byte> out) const
{
    requireInside(m_raw.size(), offset, out.size());
    if (!out.empty())
        std::memcpy(out.data(), m_raw.data() + offset, out.size());
}

void MemoryDevice::writeAt(uint64_t offset, std::span<const std::byte> in)
{
    requireInside(m_raw.size(), offset, in.size());
    if (!in.empty())
        std::memcpy(m_raw.data() + offset, in.data(), in.size());
}

} // namespace bytes
