#include "mounting/Requests.h"

#include "mounting/Answer.h"
#include "mounting/AttributeRequests.h"
#include "mounting/FolderRequests.h"

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

ContentStore::Access accessOf(const fuse_file_info* file)
{
    return (file->flags & O_ACCMODE) == O_RDONLY ? ContentStore::Access::read
                                                 : ContentStore::Access::write;
}

void openFile(fuse_req_t request, fuse_ino_t number, fuse_file_info* file)
{
    answer(request, [&](VolumeTree& tree) {
        Node& node = tree.node(number);
        if ((file->flags & O_TRUNC) != 0)
            tree.contents().resize(node, 0);
        tree.contents().open(node, accessOf(file));
        file->keep_cache = 1;
        if (fuse_reply_open(request, file) != 0)
            tree.contents().close(node, accessOf(file));
    });
}

void createFile(
    fuse_req_t request, fuse_ino_t parent, const char* name, mode_t mode, fuse_file_info* file)
{
    answer(request, [&](VolumeTree& tree) {
        const fuse_ctx& caller = *fuse_req_ctx(request);
        Node& node =
            tree.make(tree.node(parent), name, S_IFREG | (mode & 07777), caller.uid, caller.gid);
        tree.contents().open(node, accessOf(file));
        file->keep_cache = 1;
        ++node.lookups;
        const fuse_entry_param entry = entryOf(tree, node);
        if (fuse_reply_create(request, &entry, file) != 0) {
            --node.lookups;
            tree.contents().close(node, accessOf(file));
        }
    });
}

void closeFile(fuse_req_t request, fuse_ino_t number, fuse_file_info* file)
{
    answer(request, [&](VolumeTree& tree) {
        Node& node = tree.node(number);
        tree.contents().close(node, accessOf(file));
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

void describeSpace(fuse_req_t request, fuse_ino_t)
{
    answer(request, [&](VolumeTree& tree) {
        const VolumeSpace& space = servedVolume(request).space;
        struct statvfs status { };
        status.f_bsize = status.f_frsize = space.blockSize;
        status.f_blocks = space.blocks;
        status.f_bfree = status.f_bavail = tree.contents().freeBlocks();
        status.f_files = tree.count();
        status.f_namemax = NAME_MAX;
        fuse_reply_statfs(request, &status);
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
    handlers.statfs = describeSpace;
    addFolderHandlers(handlers);
    addAttributeHandlers(handlers);
    return handlers;
}

} // namespace

const fuse_lowlevel_ops& requestHandlers()
{
    static const fuse_lowlevel_ops handlers = makeHandlers();
    return handlers;
}

} // namespace mounting
