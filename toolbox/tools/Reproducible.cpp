#include "tools/Reproducible.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <random>
#include <system_error>

namespace tools {

std::optional<uint32_t> fixedTime()
{
    const char* variable = std::getenv("SOURCE_DATE_EPOCH");
    if (variable == nullptr || *variable == '\0')
        return std::nullopt;
    constexpr uint64_t unixEpoch = 2'082'844'800; // in seconds since 1904
    const std::string_view text = variable;
    uint64_t seconds = 0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (fault != std::errc{} || end != text.data() + text.size()
        || seconds > UINT32_MAX - unixEpoch)
        throw std::system_error(EINVAL, std::generic_category(), "SOURCE_DATE_EPOCH");
    return static_cast<uint32_t>(seconds + unixEpoch);
}

uint64_t identifierSeed(bool fixed, std::string_view content)
{
    if (!fixed) {
        std::random_device random;
        return uint64_t{random()} << 32 | random();
    }
    // FNV-1a: identifiers must differ between images, not withstand anybody.
    uint64_t hash = 0xCBF29CE484222325;
    for (const char unit : content)
        hash = (hash ^ static_cast<unsigned char>(unit)) * 0x100000001B3;
    return hash;
}

} // namespace tools
