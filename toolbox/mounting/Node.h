#pragma once

#include "bytes/File.h"
#include "hfsplus/ForkReader.h"

#include <ctime>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace mounting {

struct Node;

using Attributes = std::map<std::string, std::vector<std::byte>>;

/// Names that a volume tells apart.
struct NameOrder {
    bool operator()(const std::u16string& a, const std::u16string& b) const;
};
using VolumeNames = std::set<std::u16string, NameOrder>;

/// What only a folder has.
struct FolderNode {
    std::map<std::string, Node*, std::less<>> children; // by the host's names
    Node* parent = nullptr; // null for the root and for a folder that was removed
    /// The names as the volume has them, once somebody adds to the folder.
    std::optional<VolumeNames> volumeNames;
};

/// A file, folder or symbolic link of a mounted volume, whatever names it has.
struct Node {
    uint64_t number = 0; // as the host sees it; of what the volume holds its catalog node ID
    mode_t mode = 0;
    uid_t owner = 0;
    gid_t group = 0;
    timespec accessed{}, modified{}, changed{};
    uint64_t size = 0; // bytes; of a link its target's
    uint32_t links = 0; // names that lead here
    uint64_t lookups = 0; // that the kernel remembers
    hfsplus::CatalogID entry = 0; // on the volume; 0 for what is new

    std::string target; // of a symbolic link
    std::unique_ptr<FolderNode> folder; // null for anything else
    std::optional<Attributes> attributes; // none: as the volume has them

    /// True once anything of it was changed, by whatever it shows in `changed`.
    bool isTouched = false;
    /// True once the data lies in the scratch folder and no longer counts on the volume.
    bool isRewritten = false;
    uint32_t writers = 0; // that may hold what they have written in their memory
    uint32_t opened = 0; // while it is, one of these may be in use
    std::unique_ptr<hfsplus::ForkReader> stored;
    std::unique_ptr<bytes::File> rewritten;

    bool isFolder() const { return folder != nullptr; }
    bool isSymlink() const { return S_ISLNK(mode); }
    bool isFile() const { return S_ISREG(mode); }
};

/// The clock's.
timespec currentTime();

/// For everything that changes a node: the host shows when.
void touch(Node& node);

} // namespace mounting
