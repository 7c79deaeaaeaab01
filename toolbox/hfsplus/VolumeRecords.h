#pragma once

#include "bytes/StoredInteger.h"

#include <array>
#include <cstdint>

/// The volume itself: its header and where forks lie (Apple TN1150). All integers are big-endian;
/// dates are seconds since 1904-01-01, UTC but for the volume's own creation date.
namespace hfsplus {

using bytes::be16;
using bytes::be32;
using bytes::be64;
using bytes::isStoredRecord;

inline constexpr int64_t macEpochOffset = 2'082'844'800; // Unix time 0 in seconds since 1904

/// A catalog node ID: the number of a file or folder, stable for its lifetime.
using CatalogID = uint32_t;

inline constexpr CatalogID rootParentID = 1, rootFolderID = 2, extentsFileID = 3, catalogFileID = 4,
                           badBlocksFileID = 5, allocationFileID = 6, startupFileID = 7,
                           attributesFileID = 8, firstUserID = 16;

inline constexpr uint32_t sectorSize = 512;
inline constexpr uint64_t volumeHeaderOffset = 1024;
/// The alternate header's distance from the end of the volume.
inline constexpr uint64_t alternateHeaderDistance = 1024;
inline constexpr uint32_t maximumNameUnits = 255;

/// A run of allocation blocks; {0, 0} is an unused one.
struct ExtentDescriptor {
    be32 startBlock, blockCount;
    bool operator==(const ExtentDescriptor&) const = default;
};
static_assert(sizeof(ExtentDescriptor) == 8 && isStoredRecord<ExtentDescriptor>);

using ExtentRecord = std::array<ExtentDescriptor, 8>;

/// Where the bytes of one fork lie.
struct ForkData {
    be64 logicalSize; // bytes
    be32 clumpSize; // bytes
    be32 totalBlocks; // all extents, those of the extents tree included
    ExtentRecord extents; // unused ones are zero
    bool operator==(const ForkData&) const = default;
};
static_assert(sizeof(ForkData) == 80 && isStoredRecord<ForkData>);

inline constexpr uint16_t signatureHFSPlus = 0x482B, signatureHFSX = 0x4858;
inline constexpr uint16_t versionHFSPlus = 4, versionHFSX = 5;
inline constexpr uint32_t lastMountedByMac = 0x31302E30; // "10.0"
inline constexpr uint32_t volumeUnmounted = 0x100, volumeJournaled = 0x2000,
                          volumeSoftwareLock = 0x8000, volumeUnusedNodesZero = 0x80000000;

struct VolumeHeader {
    be16 signature, version;
    be32 attributes;
    be32 lastMountedVersion;
    be32 journalInfoBlock;
    be32 createDate; // local time
    be32 modifyDate, backupDate, checkedDate;
    be32 fileCount;
    be32 folderCount; // without the root
    be32 blockSize, totalBlocks, freeBlocks, nextAllocation;
    be32 rsrcClumpSize, dataClumpSize;
    be32 nextCatalogID;
    be32 writeCount;
    be64 encodingsBitmap;
    std::array<be32, 8> finderInfo; // [2] window to open, [6] and [7] the volume identifier
    ForkData allocationFile, extentsFile, catalogFile, attributesFile, startupFile;
    bool operator==(const VolumeHeader&) const = default;
};
static_assert(sizeof(VolumeHeader) == 512 && isStoredRecord<VolumeHeader>);

} // namespace hfsplus
