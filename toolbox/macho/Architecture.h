#pragma once

#include <cstdint>
#include <string>

namespace macho {

/// What processor a slice is for.
struct Architecture {
    uint32_t cpuType = 0;
    uint32_t cpuSubtype = 0; // with its feature bits

    /// "arm64", "x86_64", ...; an unknown one as "(type:subtype)" in decimal.
    std::string name() const;
    bool isArm64() const;

    bool operator==(const Architecture&) const = default;
};

} // namespace macho
