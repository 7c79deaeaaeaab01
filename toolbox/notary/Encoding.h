#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Texts that the service's protocols are made of.
namespace notary {

/// RFC 4648, section 5, without padding.
std::string base64Url(std::span<const std::byte> data);
inline std::string base64Url(std::string_view text)
{
    return base64Url(std::as_bytes(std::span(text)));
}

std::vector<std::byte> hmacSha256(std::span<const std::byte> key, std::string_view text);

/// Every byte but letters, digits and "-._~" as %XX; slashes too unless they are kept.
std::string percentEncoded(std::string_view text, bool keepSlashes);

/// One line for a terminal, whatever a text from elsewhere brings along.
std::string oneLine(std::string text);

/// In UTC, by strftime's rules.
std::string timeText(int64_t secondsSince1970, const char* format);

/// As the service writes dates: "2024-01-11T01:15:11.111Z".
std::string serviceDate(std::chrono::system_clock::time_point time);

/// A new random UUID (version 4), in small letters.
std::string newUuid();
/// Whether `text` is a UUID, so that it may stand in a path.
bool isUuid(std::string_view text);

} // namespace notary
