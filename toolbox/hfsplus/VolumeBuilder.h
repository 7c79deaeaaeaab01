#pragma once

#include "bytes/ByteDevice.h"
#include "hfsplus/BTreeBuilder.h"
#include "hfsplus/ContentPlan.h"
#include "hfsplus/ContentWriter.h"
#include "hfsplus/FolderScan.h"
#include "hfsplus/VolumeLayout.h"

#include <filesystem>
#include <optional>
#include <string>

namespace hfsplus {

struct BuildOptions {
    std::string volumeName; // UTF-8, as the user typed it; may contain '/'
    uint32_t blockSize = 4096; // bytes, a power of two of at least 512
    uint64_t slackBytes = 0; // free room wanted for later changes
    unsigned slackPercent = 0; // of the files' bytes, where that is more
    uint64_t volumeBytes = 0; // size of the volume; 0 = as much as content and slack take
    /// The date of the volume, and the latest of any file in it (seconds since 1904). With it and
    /// a volume ID equal folders make equal volumes.
    std::optional<uint32_t> fixedTime = std::nullopt;
    uint64_t volumeID = 0; // 0 = drawn at random
};

struct BuildReport {
    uint64_t volumeBytes = 0, freeBytes = 0;
    uint32_t files = 0, folders = 0; // without the root and the volume's private ones
};

/// Makes an HFS+ volume of a folder (Apple TN1150): unjournaled, every fork in one extent, trees
/// with room for later changes. Hard links stay hard links.
class VolumeBuilder {
public:
    /// Scans the folder and settles the layout. Throws SourceError for what a volume can't hold,
    /// std::system_error for a volume name that can't be (EINVAL, ENAMETOOLONG), for more than the
    /// wanted size holds (ENOSPC) and for more than a volume can number (EFBIG).
    VolumeBuilder(const std::filesystem::path& folder, BuildOptions options);
    VolumeBuilder(const VolumeBuilder&) = delete;
    VolumeBuilder& operator=(const VolumeBuilder&) = delete;

    uint64_t volumeBytes() const { return m_layout.volumeBytes(); }

    /// Writes the volume. The device has exactly `volumeBytes` bytes and reads as zeros, as a fresh
    /// file does; blocks of zeros are never written, so that such a file stays sparse. Throws
    /// SourceError when a file is no longer what it was when it was scanned.
    BuildReport write(bytes::ByteDevice& volume, const ContentWriter::Progress& progress = {});

private:
    uint64_t slackBytes() const;
    void settleLayout();
    void buildCatalog(BTreeBuilder& tree) const;
    void buildAttributes(BTreeBuilder& tree) const;
    VolumeHeader header() const;

    BuildOptions m_options;
    std::u16string m_name;
    FolderScan m_scan;
    ContentPlan m_plan;
    TreeShape m_catalogShape, m_attributesShape, m_extentsShape;
    VolumeLayout m_layout;
};

} // namespace hfsplus
