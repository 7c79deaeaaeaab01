#include "finder/PropertyList.h"

#include "bytes/ByteReader.h"
#include "bytes/FormatError.h"
#include "bytes/Unicode.h"

#include <bit>

namespace finder {

using bytes::ByteReader;
using bytes::FormatError;

namespace {

constexpr std::string_view signature = "bplist00";

struct Trailer {
    std::array<uint8_t, 6> unused;
    uint8_t offsetWidth, referenceWidth;
    bytes::be64 objectCount, topObject, tablePosition;
};
static_assert(sizeof(Trailer) == 32 && bytes::isStoredRecord<Trailer>);

uint64_t readWidth(ByteReader& in, std::size_t width)
{
    uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i)
        value = value << 8 | in.u8();
    return value;
}

class ListReader {
public:
    explicit ListReader(std::span<const std::byte> raw)
        : m_raw(raw)
        , m_budget(raw.size() + (1 << 20))
    {
        if (raw.size() < signature.size() + sizeof(Trailer)
            || ByteReader(raw).text(signature.size()) != signature)
            throw FormatError("no binary property list", 0);
        m_trailer = bytes::recordAt<Trailer>(raw.last(sizeof(Trailer)));
        const std::size_t end = raw.size() - sizeof(Trailer);
        if (m_trailer.tablePosition > end || !isWidth(m_trailer.offsetWidth)
            || !isWidth(m_trailer.referenceWidth)
            || (end - m_trailer.tablePosition) / m_trailer.offsetWidth < m_trailer.objectCount)
            throw FormatError("bad property list trailer", end);
        m_objects = raw.first(m_trailer.tablePosition);
    }

    PropertyDictionary read()
    {
        ByteReader in = object(m_trailer.topObject);
        const uint8_t marker = in.u8();
        if (marker >> 4 != 0xD)
            in.fail("the property list's top is no dictionary");
        const std::size_t count = countAt(in, marker);
        const std::size_t width = m_trailer.referenceWidth;
        if (count > in.remaining() / (2 * width))
            in.fail("more keys than the property list can hold");
        ByteReader keys(in.take(count * width), in.offset());
        ByteReader values(in.take(count * width), in.offset());
        PropertyDictionary dictionary;
        for (std::size_t i = 0; i < count; ++i) {
            const PropertyValue key = value(readWidth(keys, width));
            if (!std::holds_alternative<std::string>(key))
                in.fail("a key that is no text");
            dictionary.insert_or_assign(
                std::get<std::string>(key), value(readWidth(values, width)));
        }
        return dictionary;
    }

private:
    static bool isWidth(uint8_t width) { return width >= 1 && width <= 8; }

    ByteReader object(uint64_t number) const
    {
        if (number >= m_trailer.objectCount)
            throw FormatError("no object has the number " + std::to_string(number));
        ByteReader table(m_raw, 0);
        table.seek(m_trailer.tablePosition + number * m_trailer.offsetWidth);
        ByteReader in(m_objects);
        in.seek(readWidth(table, m_trailer.offsetWidth));
        return in;
    }

    static std::size_t countAt(ByteReader& in, uint8_t marker)
    {
        if ((marker & 0x0F) != 0x0F)
            return marker & 0x0F;
        const uint8_t integer = in.u8();
        if (integer >> 4 != 1 || (integer & 0x0F) > 3)
            in.fail("a count that is no integer");
        return readWidth(in, std::size_t{1} << (integer & 0x0F));
    }

    std::size_t spend(ByteReader& in, std::size_t count, std::size_t unit)
    {
        if (count > in.remaining() / unit || count * unit > m_budget)
            in.fail("a value leaves the property list");
        m_budget -= count * unit;
        return count;
    }

    PropertyValue value(uint64_t number)
    {
        ByteReader in = object(number);
        const uint8_t marker = in.u8();
        switch (marker >> 4) {
        case 0x0:
            return marker == 0x08 || marker == 0x09 ? PropertyValue(marker == 0x09)
                                                    : PropertyValue();
        case 0x1:
            return integer(in, marker & 0x0F);
        case 0x2:
            return real(in, marker);
        case 0x4: {
            const auto data = in.take(spend(in, countAt(in, marker), 1));
            return std::vector<std::byte>(data.begin(), data.end());
        }
        case 0x5:
            return in.text(spend(in, countAt(in, marker), 1));
        case 0x6:
            return bytes::utf8FromUtf16(in.utf16(spend(in, countAt(in, marker), 2)));
        default:
            return {};
        }
    }

    static PropertyValue integer(ByteReader& in, unsigned widthPower)
    {
        if (widthPower > 3)
            return {};
        return static_cast<int64_t>(readWidth(in, std::size_t{1} << widthPower));
    }

    static PropertyValue real(ByteReader& in, uint8_t marker)
    {
        if (marker == 0x22)
            return static_cast<double>(std::bit_cast<float>(in.u32()));
        if (marker == 0x23)
            return std::bit_cast<double>(in.u64());
        in.fail("a real of impossible size");
    }

    std::span<const std::byte> m_raw;
    std::span<const std::byte> m_objects; // all but table and trailer
    Trailer m_trailer{};
    std::size_t m_budget;
};

} // namespace

PropertyDictionary readPropertyList(std::span<const std::byte> raw)
{
    return ListReader(raw).read();
}

} // namespace finder
