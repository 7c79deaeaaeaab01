#pragma once

#include "udif/PartitionMap.h"

#include <cstdint>
#include <string>
#include <vector>

namespace udif {

/// One piece of a disk as images describe it: a part of the map, a partition, or a gap between
/// them. The regions of a disk cover it without overlap, in disk order.
struct DiskRegion {
    int32_t id = 0; // of the resource that holds its block table
    uint32_t descriptor = 0;
    std::string name{}; // "disk image"
    std::string hint{}; // "Apple_HFS"
    uint64_t firstSector = 0;
    uint64_t sectorCount = 0;
    bool isFree = false; // a gap: zeros in it needn't be kept as content
    bool synthesized = false; // not an entry of the map
    uint32_t slice = 0; // of the partition that it is
    bool holdsHfsPlus = false;

    /// "disk image (Apple_HFS : 4)", which names its table.
    std::string tableName() const;
};

/// A map whose pieces overlap, or that has thousands of them, is passed over: then the disk is one
/// region.
std::vector<DiskRegion> regionsOf(const PartitionMap& map, uint64_t sectorCount);

} // namespace udif
