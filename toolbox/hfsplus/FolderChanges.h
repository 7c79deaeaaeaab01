#pragma once

#include "hfsplus/FolderSnapshot.h"
#include "hfsplus/HostFolder.h"

#include <functional>

namespace hfsplus {

/// A file, folder or link of the host, as found below a laid-out volume.
struct HostItem {
    std::string path; // relative; "" is the folder itself
    FileFacts facts;
    uint32_t owner = 0, group = 0;
    int64_t accessed = 0; // seconds since 1970
    bool isCompanion = false; // holds another file's metadata

    bool isFolder() const { return (facts.mode & S_IFMT) == S_IFDIR; }
    bool isSymlink() const { return (facts.mode & S_IFMT) == S_IFLNK; }
};

/// True for a folder whose host knows that nothing in it, however deep, differs from the snapshot.
using UntouchedFolder = std::function<bool(const HostFolder&)>;

/// Everything below `folder` in the order of the paths, the folder itself first. Companions that
/// `snapshot` doesn't know as files of the volume are marked as such. What lies in an untouched
/// folder is as the snapshot has it, owners and access dates left out. Throws SourceError for what
/// no volume can hold, std::system_error when the host fails.
std::vector<HostItem> listFolder(const HostFolder& folder, const FolderSnapshot& snapshot,
    const UntouchedFolder& isUntouched = {});

/// What happened to a folder since its snapshot. Refers into both lists.
struct FolderChanges {
    struct Touched {
        const FolderSnapshot::Item* before;
        const HostItem* now;
    };
    std::vector<const FolderSnapshot::Item*> removed; // folders before what they held
    std::vector<const HostItem*> added; // the same
    std::vector<Touched> touched; // still there, but the host's facts or the companion differ

    /// An item that became another kind of thing counts as removed and added; so does one whose
    /// identity changed where `isOneOfSeveral` says that its ID is but one name of a file.
    static FolderChanges between(const FolderSnapshot& before, std::span<const HostItem> now,
        const std::function<bool(CatalogID)>& isOneOfSeveral);

    bool empty() const { return removed.empty() && added.empty() && touched.empty(); }
};

} // namespace hfsplus
