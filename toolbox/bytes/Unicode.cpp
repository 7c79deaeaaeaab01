#include "bytes/Unicode.h"

#include <cstdint>

namespace bytes {

namespace {

bool isHighSurrogate(char32_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(char32_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void appendUtf8(std::string& out, char32_t code)
{
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (code < 0x80) {
        put(code);
    } else if (code < 0x800) {
        put(0xC0 | code >> 6);
        put(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        put(0xE0 | code >> 12);
        put(0x80 | (code >> 6 & 0x3F));
        put(0x80 | (code & 0x3F));
    } else {
        put(0xF0 | code >> 18);
        put(0x80 | (code >> 12 & 0x3F));
        put(0x80 | (code >> 6 & 0x3F));
        put(0x80 | (code & 0x3F));
    }
}

struct LeadByte {
    int following;
    char32_t bits;
    char32_t smallest; // what may not be written shorter
};

std::optional<LeadByte> leadByte(uint8_t byte)
{
    if (byte < 0x80)
        return LeadByte{0, byte, 0};
    if (byte >= 0xC2 && byte < 0xE0)
        return LeadByte{1, byte & 0x1FU, 0x80};
    if (byte >= 0xE0 && byte < 0xF0)
        return LeadByte{2, byte & 0x0FU, 0x800};
    if (byte >= 0xF0 && byte < 0xF5)
        return LeadByte{3, byte & 0x07U, 0x10000};
    return std::nullopt;
}

} // namespace

std::optional<std::u16string> utf16FromUtf8(std::string_view text)
{
    std::u16string units;
    units.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const auto lead = leadByte(static_cast<uint8_t>(text[at++]));
        if (!lead)
            return std::nullopt;
        char32_t code = lead->bits;
        for (int i = 0; i < lead->following; ++i) {
            if (at == text.size() || (static_cast<uint8_t>(text[at]) & 0xC0) != 0x80)
                return std::nullopt;
            code = code << 6 | (static_cast<uint8_t>(text[at++]) & 0x3FU);
        }
        if (code < lead->smallest || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
            return std::nullopt;
        if (code < 0x10000) {
            units.push_back(static_cast<char16_t>(code));
        } else {
            units.push_back(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
            units.push_back(static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF)));
        }
    }
    return units;
}

std::string utf8FromUtf16(std::u16string_view units)
{
    std::string text;
    text.reserve(units.size());
    for (std::size_t at = 0; at < units.size(); ++at) {
        const char32_t unit = units[at];
        if (isHighSurrogate(unit) && at + 1 < units.size() && isLowSurrogate(units[at + 1])) {
            const char32_t low = units[++at];
            appendUtf8(text, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
        } else if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
            appendUtf8(text, 0xFFFD);
        } else {
            appendUtf8(text, unit);
        }
    }
    return text;
}

} // namespace bytes
