#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace bytes {

/// Bytes that can be read at any position: a file, a part of one, a decoded image. Reads are
/// positional and may come from several threads at once.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    virtual uint64_t size() const = 0;
    /// Fills all of `out`; throws FormatError when the range leaves the source, std::system_error
    /// when the host can't read.
    virtual void readAt(uint64_t offset, std::span<std::byte> out) const = 0;

    std::vector<std::byte> read(uint64_t offset, std::size_t count) const;
};

/// A source that can be written too. Never grows through this interface. Writes to ranges that
/// don't overlap may come from several threads at once.
class ByteDevice : public ByteSource {
public:
    virtual void writeAt(uint64_t offset, std::span<const std::byte> in) = 0;
};

/// A window of `length` bytes from `start` in another source, which must outlive it.
class SourceRange final : public ByteSource {
public:
    SourceRange(const ByteSource& whole, uint64_t start, uint64_t length);
    uint64_t size() const override { return m_length; }
    void readAt(uint64_t offset, std::span<std::byte> out) const override;

private:
    const ByteSource& m_whole;
    uint64_t m_start;
    uint64_t m_length;
};

/// The same for a device: a partition of a disk.
class DeviceRange final : public ByteDevice {
public:
    DeviceRange(ByteDevice& whole, uint64_t start, uint64_t length);
    uint64_t size() const override { return m_length; }
    void readAt(uint64_t offset, std::span<std::byte> out) const override;
    void writeAt(uint64_t offset, std::span<const std::byte> in) override;

private:
    ByteDevice& m_whole;
    uint64_t m_start;
    uint64_t m_length;
};

/// A device in memory, for small images and tests.
class MemoryDevice final : public ByteDevice {
public:
    explicit MemoryDevice(std::vector<std::byte> raw)
        : m_raw(std::move(raw))
    { }
    uint64_t size() const override { return m_raw.size(); }
    void readAt(uint64_t offset, std::span<std::byte> out) const override;
    void writeAt(uint64_t offset, std::span<const std::byte> in) override;
    const std::vector<std::byte>& bytes() const { return m_raw; }

private:
    std::vector<std::byte> m_raw;
};

} // namespace bytes
