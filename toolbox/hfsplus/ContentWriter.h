#pragma once

#include "hfsplus/ContentPlan.h"
#include "hfsplus/VolumeStream.h"

#include <filesystem>

namespace hfsplus {

/// Copies the forks of a planned volume from the host, in their order. Throws SourceError that
/// names the file when one is gone, unreadable, or not as long as it was when it was scanned.
class ContentWriter {
public:
    /// `contentStart` is the volume's offset, in bytes, of the plan's first block.
    ContentWriter(const ContentPlan& plan, VolumeStream& volume, uint64_t contentStart);

    void writeAll();

private:
    void writeFile(const std::filesystem::path& path, uint64_t size);
    void writeLink(const std::filesystem::path& path, uint64_t size);
    /// Resource fork and large attributes.
    void writeMetadata(const std::filesystem::path& path, std::span<const ContentPlan::Fork> forks);
    void seekTo(const ContentPlan::Fork& fork);

    const ContentPlan& m_plan;
    VolumeStream& m_volume;
    uint64_t m_contentStart;
};

} // namespace hfsplus
