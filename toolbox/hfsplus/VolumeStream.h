#pragma once

#include "bytes/ByteDevice.h"

#include <cstddef>
#include <span>
#include <vector>

namespace hfsplus {

/// Writes a device from one place on, front to back, through a large buffer. Blocks of zeros are
/// left out, so the device must read as zeros there. The device must outlive the stream.
class VolumeStream {
public:
    VolumeStream(bytes::ByteDevice& device, uint64_t start);
    VolumeStream(VolumeStream&&) = default;
    VolumeStream& operator=(VolumeStream&&) = delete;

    /// Where the next byte goes.
    uint64_t position() const { return m_start + m_filled; }
    /// A place of at least one byte for what comes next; `advance` says how much was put there.
    std::span<std::byte> room();
    void advance(std::size_t count) { m_filled += count; }
    void write(std::span<const std::byte> data);
    /// Goes on at `position`, which must not lie behind; what is between stays zero.
    void seek(uint64_t position);
    /// Writes what the buffer holds. Without it the rest is dropped.
    void flush();

private:
    bytes::ByteDevice& m_device;
    uint64_t m_start; // of the buffer
    std::size_t m_filled = 0;
    std::vector<std::byte> m_buffer;
};

} // namespace hfsplus
