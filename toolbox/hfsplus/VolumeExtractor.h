#pragma once

#include "hfsplus/FolderSnapshot.h"
#include "hfsplus/HostFolder.h"
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
/// (without set-ID bits; the owner can always read files and use folders), dates, metadata. Works
/// relative to the folders it made and follows no link, so nothing is written outside.
class VolumeExtractor {
public:
    /// `folder` must exist and be empty. `threads` 0 takes what the machine has, up to 8. Borrows
    /// the volume.
    VolumeExtractor(const Volume& volume, std::filesystem::path folder, unsigned threads = 0);

    /// To be called once. Throws bytes::FormatError for a volume that can't be laid out (names
    /// that no file can have, two entries of one name, forks that share blocks),
    /// std::system_error when the host fails, with ENOSPC where it has less room than the files
    /// take. What was laid out by then is left to the caller.
    ExtractReport extract();

private:
    /// An entry to be laid out. The volume has the rest.
    struct Job {
        std::string path;
        CatalogID id = 0;
        EntryKind kind = EntryKind::file;
        CatalogID linkTo = 0; // the entry made before whose hard link this becomes
        bool hasMetadata = false;
    };
    using Jobs = std::vector<Job>;

    void plan();
    void planEntry(const std::string& path, const Entry& entry);
    bool fitsHost(const std::string& path, const Entry& entry) const;
    bool isLaidOut(const std::string& path, const Entry& entry);
    void countBlocks(const Entry& entry);

    void makeFolders();
    void makeFiles(Jobs& jobs);
    void makeFile(const HostFolder& folder, Job& job) const;
    void makeSymlink(const HostFolder& folder, const Job& job, const Entry& entry) const;
    void writeData(const HostFolder& folder, const Job& job, const Entry& entry) const;
    bool writeMetadata(const std::filesystem::path& path, const Entry& entry) const;
    void writeFolderMetadata();
    void makeHardLinks();
    void finishFolders();
    FolderSnapshot takeSnapshot() const;

    const Volume& m_volume;
    std::filesystem::path m_folder;
    HostFolder m_base;
    unsigned m_threads;

    Jobs m_folders, m_files, m_hardLinks;
    /// Files named "._X": made after all X, for the host may need their names for X's metadata.
    Jobs m_lateFiles;
    std::unordered_map<CatalogID, CatalogID> m_firstLinks; // content -> entry
    std::string m_leftOutFolder; // the last one, with a slash; what it holds is left out too
    uint64_t m_blocks = 0;
    ExtractReport m_report;
};

} // namespace hfsplus
