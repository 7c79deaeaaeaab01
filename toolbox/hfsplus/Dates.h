#pragma once

#include "hfsplus/VolumeRecords.h"

#include <algorithm>
#include <cstdint>

namespace hfsplus {

/// Unix time as a volume stores it, clamped to what it can say: 1904 to February 2040. The
/// stored 0 means "never", so that the earliest second is 1.
constexpr uint32_t macDate(int64_t unixSeconds)
{
    constexpr int64_t latest = UINT32_MAX;
    return static_cast<uint32_t>(
        std::clamp<int64_t>(unixSeconds, 1 - macEpochOffset, latest - macEpochOffset)
        + macEpochOffset);
}

constexpr int64_t unixTime(uint32_t date)
{
    return int64_t{date} - macEpochOffset;
}

} // namespace hfsplus
