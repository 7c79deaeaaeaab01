#include "mounting/FolderRequests.h"

#include "mounting/Answer.h"

#include <memory>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace mounting {

namespace {

/// The names of an open folder as they were when it was opened, so that programs may remove what
/// they read.
struct Listing {
    struct Name {
        std::string name;
        uint64_t number = 0;
    };
    std::vector<Name> names;
    bool isFresh = true; // nothing was read of it yet
};

Listing listingOf(const Node& folder)
{
    if (!folder.isFolder())
        throw std::system_error(ENOTDIR, std::generic_category());
    Listing listing;
    const Node* parent = folder.folder->parent;
    listing.names.push_back({".", folder.number});
    listing.names.push_back({"..", parent != nullptr ? parent->number : folder.number});
    for (const auto& [name, child] : folder.folder->children)
        listing.names.push_back({name, child->number});
    return listing;
}

void openFolder(fuse_req_t request, fuse_ino_t number, fuse_file_info* file)
{
    answer(request, [&](VolumeTree& tree) {
        auto listing = std::make_unique<Listing>(listingOf(tree.node(number)));
        file->fh = reinterpret_cast<uintptr_t>(listing.get());
        if (fuse_reply_open(request, file) == 0)
            static_cast<void>(listing.release());
    });
}

Listing& openListing(const fuse_file_info* file)
{
    return *reinterpret_cast<Listing*>(static_cast<uintptr_t>(file->fh));
}

/// Who begins again sees what is there now.
const Listing& listingFrom(off_t offset, const Node& folder, const fuse_file_info* file)
{
    Listing& listing = openListing(file);
    if (offset == 0 && !listing.isFresh)
        listing = listingOf(folder);
    listing.isFresh = false;
    return listing;
}

void closeFolder(fuse_req_t request, fuse_ino_t, fuse_file_info* file)
{
    delete &openListing(file);
    fuse_reply_err(request, 0);
}

void readFolder(
    fuse_req_t request, fuse_ino_t number, std::size_t size, off_t offset, fuse_file_info* file)
{
    answer(request, [&](VolumeTree& tree) {
        std::vector<char> buffer(size);
        std::size_t used = 0;
        const Listing& listing = listingFrom(offset, tree.node(number), file);
        for (auto at = static_cast<std::size_t>(offset); at < listing.names.size(); ++at) {
            const Listing::Name& name = listing.names[at];
            struct stat status { };
            status.st_ino = name.number;
            if (const Node* node = tree.known(name.number))
                status.st_mode = node->mode;
            const std::size_t needed = fuse_add_direntry(request, buffer.data() + used, size - used,
                name.name.c_str(), &status, static_cast<off_t>(at + 1));
            if (needed > size - used)
                break;
            used += needed;
        }
        fuse_reply_buf(request, buffer.data(), used);
    });
}

/// The same with what `lookUp` would say of each.
void readFolderWithStatus(
    fuse_req_t request, fuse_ino_t number, std::size_t size, off_t offset, fuse_file_info* file)
{
    answer(request, [&](VolumeTree& tree) {
        std::vector<char> buffer(size);
        std::size_t used = 0;
        Node& folder = tree.node(number);
        const Listing& listing = listingFrom(offset, folder, file);
        for (auto at = static_cast<std::size_t>(offset); at < listing.names.size(); ++at) {
            const std::string& name = listing.names[at].name;
            const bool isDots = at < 2;
            Node* node = isDots ? tree.known(listing.names[at].number) : tree.find(folder, name);
            if (node == nullptr)
                continue; // gone meanwhile
            const fuse_entry_param entry = entryOf(tree, *node);
            const std::size_t needed = fuse_add_direntry_plus(request, buffer.data() + used,
                size - used, name.c_str(), &entry, static_cast<off_t>(at + 1));
            if (needed > size - used)
                break;
            used += needed;
            if (!isDots)
                ++node->lookups;
        }
        fuse_reply_buf(request, buffer.data(), used);
    });
}

} // namespace

void addFolderHandlers(fuse_lowlevel_ops& handlers)
{
    handlers.opendir = openFolder;
    handlers.releasedir = closeFolder;
    handlers.readdir = readFolder;
    handlers.readdirplus = readFolderWithStatus;
}

} // namespace mounting
