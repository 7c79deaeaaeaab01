#pragma once

#include "udif/Guid.h"
#include "udif/PartitionMap.h"

#include <optional>

namespace bytes {
class ByteDevice;
} // namespace bytes

/// GUID partition tables (UEFI, chapter 5).
namespace udif {

inline constexpr Guid appleHfsType = Guid::of("48465300-0000-11AA-AA11-00306543ECAC");

/// A disk with one HFS+ volume, laid out as a Mac lays out a new image: the volume starts at sector
/// 40 and the backup table follows it directly.
struct SingleVolumeDisk {
    static constexpr uint64_t volumeFirstSector = 40;

    uint64_t volumeSectors = 0;
    Guid diskID;
    Guid partitionID;
    std::string name = "disk image"; // at most 36 UTF-16 units are kept

    uint64_t diskSectors() const { return volumeFirstSector + volumeSectors + 33; }
};

/// Writes protective MBR, both headers and both entry arrays; the volume's bytes stay untouched.
/// `disk` must have exactly `plan.diskSectors()` sectors.
void writeGuidPartitionTable(bytes::ByteDevice& disk, const SingleVolumeDisk& plan);

/// None when neither the primary nor the backup table is whole.
std::optional<PartitionMap> readGuidPartitionTable(const bytes::ByteSource& disk);

} // namespace udif
