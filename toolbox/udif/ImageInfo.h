#pragma once

#include "udif/ImageFormat.h"
#include "udif/PartitionMap.h"
#include "udif/UdifRecords.h"

#include <string>
#include <vector>

namespace udif {

class DiskImage;

/// The facts that `hdiutil imageinfo` and `info` print.
struct ImageInfo {
    /// One per block table; none for a raw image.
    struct Table {
        std::string name;
        int32_t number = 0;
        StoredChecksum checksum;
    };
    /// A piece of the disk, the map's own parts and gaps included.
    struct Region {
        std::string name;
        std::string hint; // "MBR", "Primary GPT Header", "Apple_HFS", "Apple_Free"
        uint64_t firstSector = 0;
        uint64_t sectorCount = 0;
        bool synthesized = false; // not an entry of the map
        uint32_t slice = 0; // 0 where it is no partition
        bool holdsHfsPlus = false;
    };

    const FormatFacts* format = nullptr; // never null
    std::string className; // CUDIFDiskImage, CRawDiskImage
    StoredChecksum checksum; // the master checksum; type none for a raw image
    uint64_t sectorCount = 0;
    uint64_t totalBytes = 0;
    uint64_t nonEmptyBytes = 0; // of the disk, zero and free chunks left out
    uint64_t emptyBytes = 0;
    uint64_t compressedBytes = 0; // as stored
    double compressedRatio = 1; // stored bytes for each byte of the non-empty ones
    uint64_t encodingBytesInUse = 0; // of the data fork
    uint64_t encodingBytesTotal = 0;
    uint64_t encodingBytesWasted = 0;
    PartitionScheme scheme = PartitionScheme::unknown;
    std::vector<Table> tables;
    std::vector<Region> regions;
    bool compressed = false;
    bool checksummed = false;
    bool partitioned = false;
    bool kernelCompatible = true;
    bool orderedChunks = true; // stored in disk order
    bool writable = false;
};

ImageInfo infoOf(const DiskImage& image);

} // namespace udif
