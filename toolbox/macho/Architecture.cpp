#include "macho/Architecture.h"

#include <optional>

namespace macho {

namespace {

constexpr uint32_t cpuArm64 = 0x0100000C;
constexpr uint32_t subtypeMask = 0x00FFFFFF;

struct Known {
    const char* name;
    uint32_t cpuType;
    std::optional<uint32_t> cpuSubtype; // none: every one
};

constexpr Known known[] = {
    {"i386", 7, std::nullopt},
    {"x86_64h", 0x01000007, 8},
    {"x86_64", 0x01000007, std::nullopt},
    {"armv6", 12, 6},
    {"armv7", 12, 9},
    {"armv7s", 12, 11},
    {"armv7k", 12, 12},
    {"arm64e", cpuArm64, 2},
    {"arm64", cpuArm64, std::nullopt},
    {"arm64_32", 0x0200000C, std::nullopt},
};

} // namespace

std::string Architecture::name() const
{
    const uint32_t plain = cpuSubtype & subtypeMask;
    for (const Known& row : known) {
        if (row.cpuType == cpuType && (!row.cpuSubtype || *row.cpuSubtype == plain))
            return row.name;
    }
    return "(" + std::to_string(cpuType) + ":" + std::to_string(plain) + ")";
}

bool Architecture::isArm64() const
{
    return cpuType == cpuArm64;
}

} // namespace macho
