#pragma once

#include "hfsplus/Volume.h"

#include <string>
#include <sys/types.h>
#include <unordered_map>
#include <vector>

namespace hfsplus {

/// What of a volume a host can show, decided before anything is shown: folders before what they
/// hold, files, and further names of files. Names are the host's.
class LayoutPlan {
public:
    struct Item {
        std::string path; // relative; "" is the volume's root
        CatalogID id = 0;
        EntryKind kind = EntryKind::file;
        CatalogID linkTo = 0; // of a further name: the entry of the first one
        bool hasMetadata = false; // for whoever lays it out
    };
    using Items = std::vector<Item>;

    /// Throws bytes::FormatError for a volume that can't be shown: names that no file can have,
    /// forks that share blocks, paths that are hundreds of megabytes long in all.
    explicit LayoutPlan(const Volume& volume);

    Items folders; // the root first
    Items files; // symbolic links among them
    /// Files named "._X": to be made after all X, for the host may need their names for X's
    /// metadata.
    Items lateFiles;
    Items hardLinks;
    uint32_t links = 0; // symbolic ones
    uint64_t blocks = 0; // that all of it takes on the volume
    uint64_t dataBytes = 0; // of the data forks
    /// One line for each entry that is left out, with its path and the reason.
    std::vector<std::string> skipped;

private:
    void add(const std::string& path, const Entry& entry);
    bool fitsHost(const std::string& path, const Entry& entry) const;
    bool isShown(const std::string& path, const Entry& entry);
    void countBlocks(const Entry& entry);

    const Volume& m_volume;
    std::unordered_map<CatalogID, CatalogID> m_firstLinks; // content -> entry
    uint64_t m_pathBytes = 0;
    std::string m_leftOutFolder; // the last one, with a slash; what it holds is left out too
};

/// The permission bits that an entry has here: without set-ID bits, and the owner can always read
/// files and use folders.
mode_t hostMode(const Entry& entry);

/// Seconds since 1970 of a date of the volume.
int64_t hostSeconds(uint32_t date);

} // namespace hfsplus
