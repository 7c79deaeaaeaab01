#include "notary/Encoding.h"

#include "codesign/Digest.h"
#include "keychain/OpenSsl.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <ctime>
#include <openssl/hmac.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

namespace notary {

namespace {

constexpr std::string_view digits = "0123456789ABCDEF";
constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
/// Of a UUID's text.
constexpr std::array<std::size_t, 4> dashes{8, 13, 18, 23};
constexpr std::size_t uuidLength = 36;

bool isDashPlace(std::size_t place)
{
    return std::ranges::find(dashes, place) != dashes.end();
}

const unsigned char* rawBytes(std::span<const std::byte> data)
{
    return reinterpret_cast<const unsigned char*>(data.data());
}

} // namespace

std::string base64Url(std::span<const std::byte> data)
{
    std::string text;
    uint32_t bits = 0;
    int count = 0;
    for (const std::byte value : data) {
        bits = bits << 8 | std::to_integer<uint32_t>(value);
        for (count += 8; count >= 6; count -= 6)
            text += alphabet[bits >> (count - 6) & 63];
    }
    if (count > 0)
        text += alphabet[bits << (6 - count) & 63];
    return text;
}

std::vector<std::byte> hmacSha256(std::span<const std::byte> key, std::string_view text)
{
    std::vector<std::byte> digest(SHA256_DIGEST_LENGTH);
    const auto* made = HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
        rawBytes(std::as_bytes(std::span(text))), text.size(),
        reinterpret_cast<unsigned char*>(digest.data()), nullptr);
    keychain::require(made != nullptr, "HMAC");
    return digest;
}

std::string percentEncoded(std::string_view text, bool keepSlashes)
{
    std::string encoded;
    for (const char letter : text) {
        const auto value = static_cast<unsigned char>(letter);
        const bool plain = value < 0x80 && std::isalnum(value) != 0;
        if (plain || std::string_view("-._~").find(letter) != std::string_view::npos
            || (keepSlashes && letter == '/')) {
            encoded += letter;
            continue;
        }
        encoded += '%';
        encoded += digits[value >> 4];
        encoded += digits[value & 15];
    }
    return encoded;
}

std::string oneLine(std::string text)
{
    std::ranges::replace_if(
        text, [](unsigned char letter) { return letter < ' ' || letter == 0x7f; }, ' ');
    return text;
}

std::string timeText(int64_t secondsSince1970, const char* format)
{
    const auto seconds = static_cast<std::time_t>(secondsSince1970);
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), format, &parts)};
}

std::string serviceDate(std::chrono::system_clock::time_point time)
{
    const auto all = std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
    const std::string thousandths = std::to_string(1000 + all % 1000).substr(1);
    return timeText(all / 1000, "%Y-%m-%dT%H:%M:%S.") + thousandths + "Z";
}

std::string newUuid()
{
    std::array<std::byte, 16> random{};
    keychain::require(RAND_bytes(reinterpret_cast<unsigned char*>(random.data()), random.size()),
        "random numbers");
    random[6] = (random[6] & std::byte{0x0f}) | std::byte{0x40};
    random[8] = (random[8] & std::byte{0x3f}) | std::byte{0x80};
    std::string text = codesign::hexOf(random);
    for (const std::size_t place : dashes)
        text.insert(place, 1, '-');
    return text;
}

bool isUuid(std::string_view text)
{
    if (text.size() != uuidLength)
        return false;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (isDashPlace(i) ? text[i] != '-'
                           : std::isxdigit(static_cast<unsigned char>(text[i])) == 0)
            return false;
    return true;
}

} // namespace notary
