#pragma once

#include <string>
#include <string_view>

namespace finder {

/// Mac OS Roman, the encoding of short names in old records (Unicode's ROMAN.TXT). What it lacks
/// becomes '?'. Text is composed.
std::string macRomanFromUtf16(std::u16string_view text);
std::u16string utf16FromMacRoman(std::string_view text);

} // namespace finder
