#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace bytes {

/// None when `text` is not valid UTF-8 (overlong forms and surrogates included).
std::optional<std::u16string> utf16FromUtf8(std::string_view text);

/// Lone surrogates become U+FFFD.
std::string utf8FromUtf16(std::u16string_view units);

} // namespace bytes
