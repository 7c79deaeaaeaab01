#pragma once

#include "bytes/ByteDevice.h"

#include <string>
#include <vector>

namespace hfsplus {

/// One thing that is wrong with a volume, and where: node, ID, path or block.
struct Finding {
    std::string message;
    bool operator==(const Finding&) const = default;
};

/// Checks a volume as Apple's own checker does and beyond: header and its copy, the structure of
/// all trees, catalog hierarchy and threads, hard links, attributes, names, and that each block
/// has one user and its bit. Reads the disk on its own, sharing nothing with what writes it. Stops
/// after 200 findings. Empty for a sound volume. Throws only what `source` throws.
std::vector<Finding> checkVolume(const bytes::ByteSource& source);

} // namespace hfsplus
