#pragma once

#include <cstdint>

namespace hfsplus {

/// Allocation blocks in a row.
struct BlockRun {
    uint32_t start = 0, count = 0;
    uint32_t end() const { return start + count; }
    bool operator==(const BlockRun&) const = default;
};

} // namespace hfsplus
