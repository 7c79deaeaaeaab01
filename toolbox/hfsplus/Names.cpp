#include "hfsplus/Names.h"

#include "bytes/Unicode.h"
#include "hfsplus/VolumeRecords.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace hfsplus {

namespace {

constexpr char16_t symbolForNull = 0x2400;

[[noreturn]] void refuse(int error, std::string_view name)
{
    throw std::system_error(error, std::generic_category(), std::string(name));
}

/// How many bytes the character led by `lead` takes, judged by `lead` alone.
std::size_t sequenceLength(unsigned char lead)
{
    return lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

/// `name` in UTF-16; a byte that belongs to no character becomes '%' and two hexadecimal digits.
std::u16string unitsEscaping(std::string_view name)
{
    static constexpr char16_t digits[] = u"0123456789ABCDEF";
    std::u16string out;
    while (!name.empty()) {
        const auto lead = static_cast<unsigned char>(name.front());
        const std::size_t length = std::min(sequenceLength(lead), name.size());
        if (const auto units = bytes::utf16FromUtf8(name.substr(0, length))) {
            out += *units;
            name.remove_prefix(length);
        } else {
            out += {u'%', digits[lead >> 4], digits[lead & 15]};
            name.remove_prefix(1);
        }
    }
    return out;
}

std::u16string storedName(std::string_view name)
{
    if (name.empty() || name.find('\0') != std::string_view::npos)
        refuse(EINVAL, name);
    const auto plain = bytes::utf16FromUtf8(name);
    std::u16string units = decomposed(plain ? *plain : unitsEscaping(name));
    std::replace(units.begin(), units.end(), symbolForNull, u'\0');
    std::replace(units.begin(), units.end(), u':', u'/');
    if (units.size() > maximumNameUnits)
        refuse(ENAMETOOLONG, name);
    return units;
}

} // namespace

std::u16string nameFromHost(std::string_view name)
{
    if (name == "." || name == ".." || name.find('/') != std::string_view::npos)
        refuse(EINVAL, name);
    return storedName(name);
}

std::string hostFromName(std::u16string_view name)
{
    std::u16string units = composed(name);
    std::replace(units.begin(), units.end(), u'/', u':');
    std::replace(units.begin(), units.end(), u'\0', symbolForNull);
    return bytes::utf8FromUtf16(units);
}

std::u16string nameFromVolumeName(std::string_view typed)
{
    return storedName(typed);
}

std::string volumeNameFromName(std::u16string_view name)
{
    std::u16string units = composed(name);
    std::replace(units.begin(), units.end(), u'\0', symbolForNull);
    return bytes::utf8FromUtf16(units);
}

} // namespace hfsplus
