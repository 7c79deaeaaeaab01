#pragma once

#include "hfsplus/FolderSnapshot.h"
#include "hfsplus/Volume.h"

namespace hfsplus {

struct ExtractReport {
    FolderSnapshot snapshot;
    uint32_t files = 0, folders = 0, links = 0;
    uint64_t dataBytes = 0; // of the data forks
    /// One line for each entry that could not be laid out, with its path and the reason.
    std::vector<std::string> skipped;
};

/// Lays a volume out as a folder of the host: files, folders, symbolic and hard links, modes
/// (without set-ID bits; the owner can always read, and search folders), dates, metadata. Works
/// relative to the folders it made and follows no link, so nothing is written outside.
class VolumeExtractor {
public:
    /// `folder` must exist and be empty. `threads` 0 takes what the machine has, up to 8.
    VolumeExtractor(const Volume& volume, std::filesystem::path folder, unsigned threads = 0);

    /// Throws bytes::FormatError for a volume that can't be laid out (names that a host can't
    /// have, two entries of one name, forks that share blocks), std::system_error when the host
    /// fails. What was laid out by then is left to the caller.
    ExtractReport extract();

private:
    const Volume& m_volume;
    std::filesystem::path m_folder;
    unsigned m_threads;
};

} // namespace hfsplus
