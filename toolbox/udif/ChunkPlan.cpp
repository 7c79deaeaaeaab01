#include "udif/ChunkPlan.h"

#include "udif/DiskImage.h"
#include "udif/ImageConverter.h"
#include "udif/ImageError.h"

#include <algorithm>
#include <system_error>

namespace udif {

ChunkPlan ChunkPlan::of(const DiskImage& source)
{
    constexpr uint64_t largest = (uint64_t{1} << 40) / sectorBytes;
    ChunkPlan plan{.sectorCount = source.sectorCount()};
    if (plan.sectorCount > largest)
        throw std::system_error(EFBIG, std::generic_category(), source.path().string());

    plan.regions = regionsOf(source.partitions(), plan.sectorCount);
    for (std::size_t i = 0; i < plan.regions.size(); ++i) {
        const DiskRegion& region = plan.regions[i];
        for (uint64_t at = 0; at < region.sectorCount; at += chunkSectors)
            plan.items.push_back(
                {i, region.firstSector + at, std::min(chunkSectors, region.sectorCount - at)});
    }
    return plan;
}

void heedStop(const ConvertOptions& options)
{
    if (options.stop.stop_requested())
        throw ImageError(ImageError::Case::interrupted);
}

} // namespace udif
