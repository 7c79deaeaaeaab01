#include "bytes/ByteReader.h"

#include "bytes/FormatError.h"

namespace bytes {

std::span<const std::byte> ByteReader::take(std::size_t count)
{
    if (remaining() < count)
        fail("expected " + std::to_string(count) + " more bytes, found "
            + std::to_string(remaining()));
    const auto taken = m_raw.subspan(m_at, count);
    m_at += count;
    return taken;
}

std::u16string ByteReader::utf16(std::size_t count)
{
    if (remaining() / 2 < count)
        fail("expected " + std::to_string(count) + " more UTF-16 units");
    std::u16string units(count, u'\0');
    for (char16_t& unit : units)
        unit = u16();
    return units;
}

std::string ByteReader::text(std::size_t count)
{
    const auto taken = take(count);
    return {reinterpret_cast<const char*>(taken.data()), taken.size()};
}

void ByteReader::seek(std::size_t position)
{
    if (position > m_raw.size())
        fail("position " + std::to_string(position) + " lies behind the end");
    m_at = position;
}

void ByteReader::expectConsumed(Mark start, std::size_t count, const char* what) const
{
    if (m_at - start != count)
        fail(std::string(what) + " says it has " + std::to_string(count) + " bytes, but has "
            + std::to_string(m_at - start));
}

void ByteReader::fail(const std::string& what) const
{
    throw FormatError(what, offset());
}

} // namespace bytes
