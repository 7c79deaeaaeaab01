#include "bytes/ByteWriter.h"

#include <cstring>

namespace bytes {

// Out of line: inlined into a caller with known sizes, growing a vector makes g++ 12 warn of
// overflows that cannot be.

void ByteWriter::raw(std::span<const std::byte> bytes)
{
    const std::size_t at = m_out.size();
    m_out.resize(at + bytes.size());
    if (!bytes.empty())
        std::memcpy(m_out.data() + at, bytes.data(), bytes.size());
}

void ByteWriter::zeros(std::size_t count)
{
    m_out.resize(m_out.size() + count);
}

} // namespace bytes
