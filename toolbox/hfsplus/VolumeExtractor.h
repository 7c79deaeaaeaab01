#pragma once

#include "hfsplus/FolderSnapshot.h"
#include "hfsplus/HostFolder.h"
#include "hfsplus/LayoutPlan.h"

namespace hfsplus {

struct ExtractReport {
    FolderSnapshot snapshot;
    uint32_t files = 0, folders = 0, links = 0;
    uint64_t dataBytes = 0; // of the data forks
    /// One line for each entry that could not be laid out, with its path and the reason.
    std::vector<std::string> skipped;
};

/// Lays a volume out as a folder of the host: files, folders, symbolic and hard links, modes
/// (without set-ID bits; the owner can always read files and use folders), dates, metadata. Works
/// relative to the folders it made and follows no link, so nothing is written outside.
class VolumeExtractor {
public:
    /// `folder` must exist and be empty. `threads` 0 takes what the machine has, up to 8. Borrows
    /// the volume. Throws as LayoutPlan does.
    VolumeExtractor(const Volume& volume, std::filesystem::path folder, unsigned threads = 0);

    /// To be called once. Throws bytes::FormatError for two entries of one name, std::system_error
    /// when the host fails, with ENOSPC where it has less room than the files take. What was laid
    /// out by then is left to the caller.
    ExtractReport extract();

private:
    void checkRoom() const;
    void makeFolders();
    void makeFiles(LayoutPlan::Items& jobs);
    void makeFile(const HostFolder& folder, LayoutPlan::Item& job) const;
    void makeSymlink(
        const HostFolder& folder, const LayoutPlan::Item& job, const Entry& entry) const;
    void writeData(const HostFolder& folder, const LayoutPlan::Item& job, const Entry& entry) const;
    bool writeMetadata(const std::filesystem::path& path, const Entry& entry) const;
    void writeFolderMetadata();
    void makeHardLinks();
    void finishFolders();
    FolderSnapshot takeSnapshot() const;

    const Volume& m_volume;
    std::filesystem::path m_folder;
    HostFolder m_base;
    LayoutPlan m_plan;
    unsigned m_threads;
};

} // namespace hfsplus
