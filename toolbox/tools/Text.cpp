#include "tools/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace tools {

namespace {

bool startsCharacter(char unit)
{
    return (static_cast<unsigned char>(unit) & 0xC0) != 0x80;
}

} // namespace

std::string column(std::string_view text, std::size_t width, Align align)
{
    std::size_t characters = 0;
    std::size_t end = 0;
    for (; end < text.size(); ++end) {
        if (startsCharacter(text[end]) && ++characters > width)
            break;
    }
    characters = std::min(characters, width);
    const std::string padding(width - characters, ' ');
    const std::string kept(text.substr(0, end));
    return align == Align::left ? kept + padding : padding + kept;
}

std::string crcText(uint32_t crc)
{
    std::array<char, 24> text{};
    std::snprintf(text.data(), text.size(), "CRC32 $%08X", crc);
    return text.data();
}

std::string decimal(double value, int decimals)
{
    std::array<char, 64> text{};
    const auto result = std::to_chars(
        text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals);
    return {text.data(), result.ptr};
}

std::string elapsedText(double seconds)
{
    constexpr std::size_t width = 6;
    const auto number = [](double value) {
        const std::string text = decimal(value, 3);
        return std::string(text.size() < width ? width - text.size() : 0, ' ') + text;
    };
    if (seconds < 1)
        return number(seconds * 1000) + "ms";
    if (seconds < 60)
        return number(seconds) + "s";
    const auto minutes = static_cast<unsigned long>(seconds / 60);
    return std::to_string(minutes) + "m " + number(seconds - static_cast<double>(minutes) * 60)
        + "s";
}

std::string oneLine(std::string text)
{
    std::ranges::replace_if(
        text, [](char unit) { return unit == '\n' || unit == '\r'; }, ' ');
    return text;
}

} // namespace tools
