#pragma once

#include "udif/DiskRegions.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace udif {

class DiskImage;
struct ConvertOptions;

/// The disk of a conversion, cut into its regions and these into chunks, in disk order.
struct ChunkPlan {
    /// 1 MiB, as hdiutil cuts.
    static constexpr uint64_t chunkSectors = 2048;

    struct Item {
        std::size_t region = 0;
        uint64_t firstSector = 0; // of the disk
        uint64_t sectorCount = 0;
    };

    std::vector<DiskRegion> regions{};
    std::vector<Item> items{};
    uint64_t sectorCount = 0;

    /// Throws std::system_error (EFBIG) for a disk beyond 1 TiB, whose block tables would leave
    /// the limits of a property list.
    static ChunkPlan of(const DiskImage& source);

    bool opensRegion(const Item& item) const
    {
        return item.firstSector == regions[item.region].firstSector;
    }
    bool closesRegion(const Item& item) const
    {
        const DiskRegion& region = regions[item.region];
        return item.firstSector + item.sectorCount == region.firstSector + region.sectorCount;
    }
};

/// Ends a conversion whose caller asked for it, with ImageError::interrupted.
void heedStop(const ConvertOptions& options);

} // namespace udif
