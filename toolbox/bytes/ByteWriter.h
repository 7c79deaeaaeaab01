#pragma once

#include "bytes/StoredInteger.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace bytes {

/// The mirror of ByteReader: appends fields to a growing buffer, big-endian unless the name says
/// otherwise.
class ByteWriter {
public:
    void u8(uint8_t value) { m_out.push_back(static_cast<std::byte>(value)); }
    void u16(uint16_t value) { record(be16(value)); }
    void u32(uint32_t value) { record(be32(value)); }
    void u64(uint64_t value) { record(be64(value)); }
    void u16le(uint16_t value) { record(le16(value)); }
    void u32le(uint32_t value) { record(le32(value)); }
    void u64le(uint64_t value) { record(le64(value)); }

    template <typename Record>
    void record(const Record& value)
    {
        raw(recordBytes(value));
    }

    void raw(std::span<const std::byte> bytes);
    void text(std::string_view text) { raw(std::as_bytes(std::span(text.data(), text.size()))); }
    void utf16(std::u16string_view units)
    {
        for (const char16_t unit : units)
            u16(unit);
    }
    void zeros(std::size_t count);
    /// Zeros up to the next multiple of `alignment`.
    void align(std::size_t alignment) { zeros((alignment - m_out.size() % alignment) % alignment); }
    /// Zeros up to `size` bytes in all; never cuts.
    void padTo(std::size_t size)
    {
        if (m_out.size() < size)
            m_out.resize(size);
    }

    std::size_t size() const { return m_out.size(); }
    std::span<const std::byte> bytes() const { return m_out; }
    std::vector<std::byte> take() { return std::move(m_out); }

private:
    std::vector<std::byte> m_out;
};

} // namespace bytes
