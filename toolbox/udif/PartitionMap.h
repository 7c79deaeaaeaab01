#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace bytes {
class ByteSource;
} // namespace bytes

/// How a disk is divided, whichever of the known schemes says so. Sectors are 512 bytes.
namespace udif {

inline constexpr uint64_t sectorBytes = 512;

enum class PartitionScheme {
    unknown, // nothing that we recognise
    bare, // no map: one HFS+ volume is the whole disk
    guid,
    apple,
    masterBootRecord,
};

struct Partition {
    std::string name{}; // as the map has it, UTF-8, often empty
    std::string type{}; // the Mac's word ("Apple_HFS", "EFI", ...), else what the map says
    std::string typeID{}; // the GUID's text where the map has GUIDs, else the same as `type`
    uint32_t slice = 0; // the n of /dev/disk4sN; 0 is the whole disk
    uint64_t firstSector = 0;
    uint64_t sectorCount = 0;
    bool holdsHfsPlus = false; // a volume header's signature ("H+" or "HX") is there

    friend bool operator==(const Partition&, const Partition&) = default;
};

/// What a map takes of the disk for itself: its headers and tables.
struct MapArea {
    std::string name; // "GPT Header"
    std::string kind; // "Primary GPT Header"
    uint64_t firstSector = 0;
    uint64_t sectorCount = 0;

    friend bool operator==(const MapArea&, const MapArea&) = default;
};

struct PartitionMap {
    PartitionScheme scheme = PartitionScheme::unknown;
    std::vector<Partition> partitions{}; // in the map's order
    std::vector<MapArea> areas{}; // in disk order; an Apple map lists itself as a partition instead

    /// The partition that a Mac would mount first; null where there is none.
    const Partition* hfsPlusPartition() const;

    friend bool operator==(const PartitionMap&, const PartitionMap&) = default;
};

/// Looks for a GPT (the backup when the primary is damaged), an Apple partition map, a bare volume
/// and a master boot record, in this order. A map that
/// contradicts itself or leaves the disk counts as not there. Throws what reading `disk` throws.
PartitionMap readPartitionMap(const bytes::ByteSource& disk);

/// Whether the main volume header of these sectors has HFS+'s signature, or HFSX's.
bool hasHfsPlusHeader(const bytes::ByteSource& disk, uint64_t firstSector, uint64_t sectorCount);

/// The whole disk's content type in the list of an attached image: "GUID_partition_scheme", ...;
/// empty for a disk without a map.
std::string_view contentOf(PartitionScheme scheme);
/// The word of `hdiutil imageinfo`: GUID, Apple, fdisk, none.
std::string_view nameOf(PartitionScheme scheme);

} // namespace udif
