#include "udif/ImageInfo.h"

#include "udif/DiskImage.h"
#include "udif/DiskRegions.h"
#include "udif/Udif.h"

namespace udif {

namespace {

void addContainerFacts(const Udif& image, ImageInfo& info)
{
    info.className = "CUDIFDiskImage";
    info.checksum = image.trailer.masterChecksum;
    info.checksummed = image.trailer.masterChecksum.isCrc();
    info.encodingBytesTotal = image.trailer.dataForkLength;
    uint64_t stored = 0;
    uint64_t filledSectors = 0;
    uint64_t end = 0;
    for (const BlockTable& table : image.tables) {
        info.tables.push_back({table.name, table.id, table.checksum});
        for (const Chunk& chunk : table.chunks) {
            if (!chunk.isStored())
                continue;
            stored += chunk.length;
            filledSectors += chunk.sectorCount;
            info.compressed = info.compressed || chunk.type != ChunkType::raw;
            info.orderedChunks = info.orderedChunks && chunk.offset >= end;
            end = chunk.offset + chunk.length;
        }
    }
    info.compressedBytes = stored;
    info.encodingBytesInUse = stored;
    // A hostile image may use the same bytes twice.
    info.encodingBytesWasted =
        stored < info.encodingBytesTotal ? info.encodingBytesTotal - stored : 0;
    info.nonEmptyBytes = filledSectors * sectorBytes;
    if (info.nonEmptyBytes != 0)
        info.compressedRatio =
            static_cast<double>(stored) / static_cast<double>(info.nonEmptyBytes);
}

} // namespace

ImageInfo infoOf(const DiskImage& image)
{
    ImageInfo info;
    info.format = &image.format();
    info.sectorCount = image.sectorCount();
    info.totalBytes = info.sectorCount * sectorBytes;
    info.scheme = image.partitions().scheme;
    info.partitioned =
        info.scheme != PartitionScheme::unknown && info.scheme != PartitionScheme::bare;
    for (const DiskRegion& region : regionsOf(image.partitions(), info.sectorCount))
        info.regions.push_back({.name = region.name,
            .hint = region.hint,
            .firstSector = region.firstSector,
            .sectorCount = region.sectorCount,
            .synthesized = region.synthesized,
            .slice = region.slice,
            .holdsHfsPlus = region.holdsHfsPlus});

    if (image.udif()) {
        addContainerFacts(*image.udif(), info);
    } else {
        info.className = "CRawDiskImage";
        info.writable = true;
        info.nonEmptyBytes = info.totalBytes;
        info.compressedBytes = info.totalBytes;
        info.encodingBytesInUse = info.totalBytes;
        info.encodingBytesTotal = info.totalBytes;
    }
    info.emptyBytes = info.totalBytes - info.nonEmptyBytes;
    return info;
}

} // namespace udif
