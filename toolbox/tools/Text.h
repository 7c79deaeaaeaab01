#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Pieces of text that several tools print alike.
namespace tools {

enum class Align { left, right };

/// `text` cut and padded to `width` characters.
std::string column(std::string_view text, std::size_t width, Align align);

/// "CRC32 $0123ABCD".
std::string crcText(uint32_t crc);

/// "7.868ms", "31.848s", "3m 53.244s", the number padded to six places.
std::string elapsedText(double seconds);

/// With a fixed count of decimals, whatever the locale.
std::string decimal(double value, int decimals);

/// One line, whatever a name from an image brings along.
std::string oneLine(std::string text);

} // namespace tools
