#include "udif/DiskRegions.h"

#include "udif/UdifPropertyList.h"

#include <algorithm>

namespace udif {

namespace {

constexpr uint32_t wholeDiskDescriptor = 0xFFFFFFFE;

DiskRegion wholeDisk(const PartitionMap& map, uint64_t sectorCount)
{
    const bool bare = map.scheme == PartitionScheme::bare;
    return {.descriptor = wholeDiskDescriptor,
        .name = "whole disk",
        .hint = bare ? "Apple_HFS" : "unknown partition",
        .sectorCount = sectorCount,
        .synthesized = true,
        .holdsHfsPlus = bare};
}

std::vector<DiskRegion> knownPieces(const PartitionMap& map)
{
    std::vector<DiskRegion> pieces;
    for (const MapArea& area : map.areas)
        pieces.push_back({.name = area.name,
            .hint = area.kind,
            .firstSector = area.firstSector,
            .sectorCount = area.sectorCount,
            .synthesized = true});
    for (const Partition& partition : map.partitions)
        if (partition.sectorCount != 0)
            pieces.push_back({.name = partition.name,
                .hint = partition.type,
                .firstSector = partition.firstSector,
                .sectorCount = partition.sectorCount,
                .isFree = partition.type == "Apple_Free",
                .slice = partition.slice,
                .holdsHfsPlus = partition.holdsHfsPlus});
    std::ranges::stable_sort(pieces, {}, &DiskRegion::firstSector);
    return pieces;
}

/// Fills the gaps; empty when pieces overlap or leave the disk.
std::vector<DiskRegion> tiled(std::vector<DiskRegion> pieces, uint64_t sectorCount)
{
    std::vector<DiskRegion> regions;
    uint64_t position = 0;
    const auto addGap = [&](uint64_t end) {
        if (position < end)
            regions.push_back({.hint = "Apple_Free",
                .firstSector = position,
                .sectorCount = end - position,
                .isFree = true,
                .synthesized = true});
        position = end;
    };
    for (DiskRegion& piece : pieces) {
        if (piece.firstSector < position || piece.firstSector > sectorCount
            || sectorCount - piece.firstSector < piece.sectorCount)
            return {};
        addGap(piece.firstSector);
        position += piece.sectorCount;
        regions.push_back(std::move(piece));
    }
    addGap(sectorCount);
    return regions;
}

} // namespace

std::string DiskRegion::tableName() const
{
    const uint32_t ordinal = descriptor == wholeDiskDescriptor ? 0 : descriptor;
    return name + " (" + hint + " : " + std::to_string(ordinal) + ")";
}

std::vector<DiskRegion> regionsOf(const PartitionMap& map, uint64_t sectorCount)
{
    const bool hasMap =
        map.scheme != PartitionScheme::unknown && map.scheme != PartitionScheme::bare;
    auto regions = hasMap ? tiled(knownPieces(map), sectorCount) : std::vector<DiskRegion>();
    if (regions.empty() || regions.size() > blockResourceLimit)
        return {wholeDisk(map, sectorCount)};
    for (uint32_t i = 0; i < regions.size(); ++i) {
        regions[i].id = static_cast<int32_t>(i) - 1;
        regions[i].descriptor = i;
    }
    return regions;
}

} // namespace udif
