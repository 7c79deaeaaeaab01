#include "mounting/Requests.h"

#define FUSE_USE_VERSION 314
#include <fuse3/fuse_lowlevel.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <linux/fs.h>
#include <new>
#include <sys/statvfs.h>
#include <system_error>

namespace mounting {

namespace {

/// Seconds that the kernel may rely on an answer. Nobody but the kernel changes the tree.
constexpr double kept = 86400;

ServedVolume& served(fuse_req_t request)
{
    return *static_cast<ServedVolume*>(fuse_req_userdata(request));
}

VolumeTree& treeOf(fuse_req_t request)
{
    return served(request).tree;
}

/// Runs `work`, which replies unless it throws.
template <typename Work>
void answer(fuse_req_t request, Work work)
{
    int code = EIO;
    try {
        work(treeOf(request));
        return;
    } catch (const std::system_error& failure) {
        if (failure.code().category() == std::generic_category() && failure.code().value() > 0)
            code = failure.code().value();
    } catch (const std::bad_alloc&) {
        code = ENOMEM;
    } catch (const std::exception&) {
        // A damaged volume.
    }
    fuse_reply_err(request, code);
}

fuse_entry_param entryOf(VolumeTree& tree, Node& node)
{
    fuse_entry_param entry{};
    entry.ino = node.number;
    entry.attr = tree.status(node);
    entry.attr_timeout = entry.entry_timeout = kept;
    return entry;
}

/// The kernel remembers the node from now on.
void replyEntry(fuse_req_t request, VolumeTree& tree, Node& node)
{
    ++node.lookups;
    const fuse_entry_param entry = entryOf(tree, node);
    if (fuse_reply_entry(request, &entry) != 0)
        --node.lookups;
}

void lookUp(fuse_req_t request, fuse_ino_t parent, const char* name)
{
    answer(request, [&](VolumeTree& tree) {
        if (Node* node = tree.find(tree.node(parent), name))
            return replyEntry(request, tree, *node);
        fuse_entry_param absent{};
        absent.entry_timeout = kept;
        fuse_reply_entry(request, &absent);
    });
}

void forget(fuse_req_t request, fuse_ino_t number, uint64_t lookups)
{
    treeOf(request).forget(number, lookups);
    fuse_reply_none(request);
}

void forgetSeveral(fuse_req_t request, std::size_t count, fuse_forget_data* forgotten)
{
    for (const fuse_forget_data& each : std::span(forgotten, count))
        treeOf(request).forget(each.ino, each.nlookup);
    fuse_reply_none(request);
}

void getStatus(fuse_req_t request, fuse_ino_t number, fuse_file_info*)
{
    answer(request, [&](VolumeTree& tree) {
        const struct stat status = tree.status(tree.node(number));
        fuse_reply_attr(request, &status, kept);
    });
}

void setTimes(Node& node, const struct stat& wanted, int which)
{
    const timespec now = currentTime();
    if ((which & FUSE_SET_ATTR_ATIME) != 0)
        node.accessed = (which & FUSE_SET_ATTR_ATIME_NOW) != 0 ? now : wanted.st_atim;
    if ((which & FUSE_SET_ATTR_MTIME) != 0)
        node.modified = (which & FUSE_SET_ATTR_MTIME_NOW) != 0 ? now : wanted.st_mtim;
    touch(node);
}

void setStatus(
    fuse_req_t request, fuse_ino_t number, struct stat* wanted, int which, fuse_file_info*)
{
    answer(request, [&](VolumeTree& tree) {
        Node& node = tree.node(number);
        if ((which & FUSE_SET_ATTR_SIZE) != 0)
            tree.contents().resize(node, static_cast<uint64_t>(wanted->st_size));
        if ((which & FUSE_SET_ATTR_MODE) != 0)
            node.mode = (node.mode & S_IFMT) | (wanted->st_mode & 07777);
        if ((which & FUSE_SET_ATTR_UID) != 0)
            node.owner = wanted->st_uid;
        if ((which & FUSE_SET_ATTR_GID) != 0)
            node.group = wanted->st_gid;
        setTimes(node, *wanted, which);
        const struct stat status = tree.status(node);
        fuse_reply_attr(request, &status, kept);
    });
}

void readLink(fuse_req_t request, fuse_ino_t number)
{
    answer(request,
        [&](VolumeTree& tree) { fuse_reply_readlink(request, tree.node(number).target.c_str()); });
}

void makeNode(fuse_req_t request, fuse_ino_t parent, const char* name, mode_t mode, dev_t)
{
    answer(request, [&](VolumeTree& tree) {
        const fuse_ctx& caller = *fuse_req_ctx(request);
        replyEntry(request, tree, tree.make(tree.node(parent), name, mode, caller.uid, caller.gid));
    });
}

void makeFolder(fuse_req_t request, fuse_ino_t parent, const char* name, mode_t mode)
{
    makeNode(request, parent, name, S_IFDIR | (mode & 07777), 0);
}

void makeSymlink(fuse_req_t request, const char* target, fuse_ino_t parent, const char* name)
{
    answer(request, [&](VolumeTree& tree) {
        const fuse_ctx& caller = *fuse_req_ctx(request);
        replyEntry(request, tree,
            tree.makeSymlink(tree.node(parent), name, target, caller.uid, caller.gid));
    });
}

void unlink(fuse_req_t request, fuse_ino_t parent, const char* name)
{
    answer(request, [&](VolumeTree& tree) {
        tree.unlink(tree.node(parent), name);
        fuse_reply_err(request, 0);
    });
}

void removeFolder(fuse_req_t request, fuse_ino_t parent, const char* name)
{
    answer(request, [&](VolumeTree& tree) {
        tree.removeFolder(tree.node(parent), name);
        fuse_reply_err(request, 0);
    });
}

void rename(fuse_req_t request, fuse_ino_t parent, const char* name, fuse_ino_t newParent,
    const char* newName, unsigned flags)
{
    answer(request, [&](VolumeTree& tree) {
        using Renaming = VolumeTree::Renaming;
        if ((flags & ~static_cast<unsigned>(RENAME_EXCHANGE | RENAME_NOREPLACE)) != 0)
            throw std::system_error(EINVAL, std::generic_category());
        const Renaming way = (flags & RENAME_EXCHANGE) != 0 ? Renaming::exchange
            : (flags & RENAME_NOREPLACE) != 0               ? Renaming::keep
                                                            : Renaming::replace;
        tree.rename(tree.node(parent), name, tree.node(newParent), newName, way);
        fuse_reply_err(request, 0);
    });
}

void link(fuse_req_t request, fuse_ino_t number, fuse_ino_t newParent, const char* newName)
{
    answer(request, [&](VolumeTree& tree) {
        Node& node = tree.node(number);
        tree.link(node, tree.node(newParent), newName);
        replyEntry(request, tree, node);
    });
}

void openFile(fuse_req_t request, fuse_ino_t number, fuse_file_info* file)
{
    answer(request, [&](VolumeTree& tree) {
        Node& node = tree.node(number);
        if ((file->flags & O_TRUNC) != 0)
            tree.contents().resize(node, 0);
        tree.contents().open(node);
        file->keep_cache = 1;
        if (fuse_reply_open(request, file) != 0)
            tree.contents().close(node);
    });
}

void createFile(
    fuse_req_t request, fuse_ino_t parent, const char* name, mode_t mode, fuse_file_info* file)
{
    answer(request, [&](VolumeTree& tree) {
        const fuse_ctx& caller = *fuse_req_ctx(request);
        Node& node =
            tree.make(tree.node(parent), name, S_IFREG | (mode & 07777), caller.uid, caller.gid);
        tree.contents().open(node);
        file->keep_cache = 1;
        ++node.lookups;
        const fuse_entry_param entry = entryOf(tree, node);
        if (fuse_reply_create(request, &entry, file) != 0) {
            --node.lookups;
            tree.contents().close(node);
        }
    });
}

void closeFile(fuse_req_t request, fuse_ino_t number, fuse_file_info*)
{
    answer(request, [&](VolumeTree& tree) {
        Node& node = tree.node(number);
        tree.contents().close(node);
        tree.dropIfUnused(node);
        fuse_reply_err(request, 0);
    });
}

void readFile(
    fuse_req_t request, fuse_ino_t number, std::size_t size, off_t offset, fuse_file_info*)
{
    answer(request, [&](VolumeTree& tree) {
        std::vector<std::byte> content(size);
        const std::size_t length =
            tree.contents().read(tree.node(number), static_cast<uint64_t>(offset), content);
        fuse_reply_buf(request, reinterpret_cast<const char*>(content.data()), length);
    });
}

void writeFile(fuse_req_t request, fuse_ino_t number, const char* content, std::size_t size,
    off_t offset, fuse_file_info*)
{
    answer(request, [&](VolumeTree& tree) {
        tree.contents().write(tree.node(number), static_cast<uint64_t>(offset),
            std::as_bytes(std::span(content, size)));
        fuse_reply_write(request, size);
    });
}

void nothingToFlush(fuse_req_t request, fuse_ino_t, int, fuse_file_info*)
{
    fuse_reply_err(request, 0);
}

/// The names of an open folder as they were when it was opened, so that programs may remove what
/// they read.
struct Listing {
    struct Name {
        std::string name;
        uint64_t number = 0;
    };
    std::vector<Name> names;
};

void openFolder(fuse_req_t request, fuse_ino_t number, fuse_file_info* file)
{
    answer(request, [&](VolumeTree& tree) {
        const Node& node = tree.node(number);
        if (!node.isFolder())
            throw std::system_error(ENOTDIR, std::generic_category());
        auto listing = std::make_unique<Listing>();
        const Node* parent = node.folder->parent;
        listing->names.push_back({".", number});
        listing->names.push_back({"..", parent != nullptr ? parent->number : number});
        for (const auto& [name, child] : node.folder->children)
            listing->names.push_back({name, child->number});
        file->fh = reinterpret_cast<uintptr_t>(listing.get());
        if (fuse_reply_open(request, file) == 0)
            static_cast<void>(listing.release());
    });
}

const Listing& listingOf(const fuse_file_info* file)
{
    return *reinterpret_cast<const Listing*>(static_cast<uintptr_t>(file->fh));
}

void closeFolder(fuse_req_t request, fuse_ino_t, fuse_file_info* file)
{
    delete &listingOf(file);
    fuse_reply_err(request, 0);
}

void readFolder(
    fuse_req_t request, fuse_ino_t, std::size_t size, off_t offset, fuse_file_info* file)
{
    answer(request, [&](VolumeTree& tree) {
        std::vector<char> buffer(size);
        std::size_t used = 0;
        const Listing& listing = listingOf(file);
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
        const Listing& listing = listingOf(file);
        Node& folder = tree.node(number);
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

void describeSpace(fuse_req_t request, fuse_ino_t)
{
    answer(request, [&](VolumeTree& tree) {
        const VolumeSpace& space = served(request).space;
        struct statvfs status { };
        status.f_bsize = status.f_frsize = space.blockSize;
        status.f_blocks = space.blocks;
        status.f_bfree = status.f_bavail = tree.contents().freeBlocks();
        status.f_files = tree.count();
        status.f_namemax = NAME_MAX;
        fuse_reply_statfs(request, &status);
    });
}

void setAttribute(fuse_req_t request, fuse_ino_t number, const char* name, const char* value,
    std::size_t size, int flags)
{
    answer(request, [&](VolumeTree& tree) {
        using Setting = AttributeStore::Setting;
        constexpr int mustBeNew = 1, mustExist = 2; // XATTR_CREATE, XATTR_REPLACE
        const Setting setting = flags == mustBeNew ? Setting::mustBeNew
            : flags == mustExist                   ? Setting::mustExist
                                                   : Setting::either;
        tree.attributes().set(
            tree.node(number), name, std::as_bytes(std::span(value, size)), setting);
        fuse_reply_err(request, 0);
    });
}

/// Attributes are first asked for their size and then for themselves.
void replySized(fuse_req_t request, std::span<const char> value, std::size_t size)
{
    if (size == 0)
        fuse_reply_xattr(request, value.size());
    else if (value.size() > size)
        fuse_reply_err(request, ERANGE);
    else
        fuse_reply_buf(request, value.data(), value.size());
}

void getAttribute(fuse_req_t request, fuse_ino_t number, const char* name, std::size_t size)
{
    answer(request, [&](VolumeTree& tree) {
        if (std::string_view(name) == untouchedAttribute) {
            if (tree.isUntouched(tree.node(number)))
                return replySized(request, "1", size);
            throw std::system_error(ENODATA, std::generic_category());
        }
        const auto value = tree.attributes().value(tree.node(number), name);
        replySized(request, {reinterpret_cast<const char*>(value.data()), value.size()}, size);
    });
}

void listAttributes(fuse_req_t request, fuse_ino_t number, std::size_t size)
{
    answer(request, [&](VolumeTree& tree) {
        std::string list;
        for (const std::string& name : tree.attributes().names(tree.node(number)))
            list.append(name).push_back('\0');
        replySized(request, list, size);
    });
}

void removeAttribute(fuse_req_t request, fuse_ino_t number, const char* name)
{
    answer(request, [&](VolumeTree& tree) {
        tree.attributes().remove(tree.node(number), name);
        fuse_reply_err(request, 0);
    });
}

fuse_lowlevel_ops makeHandlers()
{
    fuse_lowlevel_ops handlers{};
    handlers.lookup = lookUp;
    handlers.forget = forget;
    handlers.forget_multi = forgetSeveral;
    handlers.getattr = getStatus;
    handlers.setattr = setStatus;
    handlers.readlink = readLink;
    handlers.mknod = makeNode;
    handlers.mkdir = makeFolder;
    handlers.symlink = makeSymlink;
    handlers.unlink = unlink;
    handlers.rmdir = removeFolder;
    handlers.rename = rename;
    handlers.link = link;
    handlers.open = openFile;
    handlers.create = createFile;
    handlers.release = closeFile;
    handlers.read = readFile;
    handlers.write = writeFile;
    handlers.fsync = nothingToFlush;
    handlers.opendir = openFolder;
    handlers.releasedir = closeFolder;
    handlers.readdir = readFolder;
    handlers.readdirplus = readFolderWithStatus;
    handlers.statfs = describeSpace;
    handlers.setxattr = setAttribute;
    handlers.getxattr = getAttribute;
    handlers.listxattr = listAttributes;
    handlers.removexattr = removeAttribute;
    return handlers;
}

} // namespace

const fuse_lowlevel_ops& requestHandlers()
{
    static const fuse_lowlevel_ops handlers = makeHandlers();
    return handlers;
}

} // namespace mounting
