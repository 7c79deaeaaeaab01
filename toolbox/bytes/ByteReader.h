#pragma once

#include "bytes/StoredInteger.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace bytes {

/// A bounds-checked cursor over bytes that somebody else wrote. Every read past the end throws
/// FormatError with the offset; nothing is copied but what is asked for. Borrows the bytes.
/// Multi-byte fields are big-endian unless the name says otherwise.
class ByteReader {
public:
    using Mark = std::size_t;

    /// `origin` is the offset of the first byte in the file, for messages.
    explicit ByteReader(std::span<const std::byte> raw, uint64_t origin = 0)
        : m_raw(raw)
        , m_origin(origin)
    { }

    uint8_t u8() { return integer<uint8_t>(); }
    uint16_t u16() { return record<be16>(); }
    uint32_t u32() { return record<be32>(); }
    uint64_t u64() { return record<be64>(); }
    uint16_t u16le() { return record<le16>(); }
    uint32_t u32le() { return record<le32>(); }
    uint64_t u64le() { return record<le64>(); }

    template <typename Record>
    Record record()
    {
        return recordAt<Record>(take(sizeof(Record)));
    }

    std::span<const std::byte> take(std::size_t count);
    /// `count` UTF-16BE units.
    std::u16string utf16(std::size_t count);
    /// `count` bytes as they are.
    std::string text(std::size_t count);
    void skip(std::size_t count) { take(count); }

    Mark mark() const { return m_at; }
    void seek(std::size_t position);
    std::size_t remaining() const { return m_raw.size() - m_at; }
    bool atEnd() const { return m_at == m_raw.size(); }
    /// Where the cursor stands in the file.
    uint64_t offset() const { return m_origin + m_at; }

    /// Throws unless exactly `count` bytes were read since `start`.
    void expectConsumed(Mark start, std::size_t count, const char* what) const;
    [[noreturn]] void fail(const std::string& what) const;

private:
    template <typename Value>
    Value integer()
    {
        return static_cast<Value>(take(sizeof(Value))[0]);
    }

    std::span<const std::byte> m_raw;
    uint64_t m_origin;
    std::size_t m_at = 0;
};

} // namespace bytes
