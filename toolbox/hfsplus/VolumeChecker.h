#pragma once

#include "bytes/ByteDevice.h"

#include <string>
#include <vector>

namespace hfsplus {

/// One thing that is odd about a volume, and where: node, ID, path or block.
struct Finding {
    std::string message;
    /// True for what Apple's own checker rejects and for names or links that a Mac gets wrong.
    /// False for what a volume may pick up while a Mac or another system uses it, and for what no
    /// reader minds.
    bool damage = true;

    bool operator==(const Finding&) const = default;
};

/// Checks a volume as Apple's own checker does and beyond: header and its copy, the structure of
/// all trees, catalog hierarchy and threads, hard links, attributes, names, and that each block
/// has one user and its bit. Reads the disk on its own, sharing nothing with what writes it. Stops
/// after 200 damages. Empty for a sound and tidy volume. Throws only what `source` throws.
std::vector<Finding> checkVolume(const bytes::ByteSource& source);

} // namespace hfsplus
