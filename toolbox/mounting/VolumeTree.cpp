#include "mounting/VolumeTree.h"

#include "bytes/FormatError.h"
#include "hfsplus/HostFolder.h"
#include "hfsplus/NameOrder.h"
#include "hfsplus/Names.h"
#include "macfile/AppleDouble.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <unistd.h>

namespace mounting {

namespace fs = std::filesystem;
using hfsplus::CatalogID;
using hfsplus::EntryKind;
using hfsplus::FolderSnapshot;
using hfsplus::LayoutPlan;

namespace {

[[noreturn]] void fail(int code)
{
    throw std::system_error(code, std::generic_category());
}

timespec hostTime(uint32_t date, const timespec& never)
{
    if (date == 0)
        return never;
    return {.tv_sec = static_cast<time_t>(hfsplus::hostSeconds(date)), .tv_nsec = 0};
}

/// Folders show at least two names, for programs that count on it.
constexpr uint32_t ownNamesOfFolder = 2;

/// For a folder in which a name came or went.
void touchNames(Node& folder)
{
    touch(folder);
    folder.modified = folder.changed;
}

/// Whether `folder` lies in `other` or is it.
bool isWithin(const Node& folder, const Node& other)
{
    for (const Node* at = &folder; at != nullptr; at = at->folder->parent)
        if (at == &other)
            return true;
    return false;
}

} // namespace

timespec currentTime()
{
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

void touch(Node& node)
{
    node.changed = currentTime();
    node.isTouched = true;
}

VolumeTree::VolumeTree(
    const hfsplus::Volume& volume, const LayoutPlan& plan, fs::path scratchFolder)
    : m_volume(volume)
    , m_contents(volume, std::move(scratchFolder))
    , m_attributes(volume)
    , m_mountedAt(currentTime())
{
    std::unordered_map<CatalogID, Node*> firsts;
    for (const LayoutPlan::Items* items : {&plan.folders, &plan.files, &plan.lateFiles})
        for (const LayoutPlan::Item& item : *items)
            firsts[item.id] = &addFromVolume(item);
    for (const LayoutPlan::Item& item : plan.hardLinks) {
        Node& folder = *m_folders.at(std::string(hfsplus::folderOf(item.path)));
        const std::string name(hfsplus::nameOf(item.path));
        checkFree(folder, name);
        enter(*firsts.at(item.linkTo), folder, name);
        m_linkIDs[{&folder, name}] = item.id;
    }
    m_folders.clear();
}

Node& VolumeTree::add(mode_t mode)
{
    auto node = std::make_unique<Node>();
    node->mode = mode;
    if (S_ISDIR(mode))
        node->folder = std::make_unique<FolderNode>();
    node->accessed = node->modified = node->changed = currentTime();
    node->number = m_nextNumber++;
    Node& added = *node;
    m_nodes.emplace(added.number, std::move(node));
    return added;
}

Node& VolumeTree::addFromVolume(const LayoutPlan::Item& item)
{
    const hfsplus::Entry entry = *m_volume.entryWithID(item.id);
    auto owned = std::make_unique<Node>();
    Node& node = *owned;
    const bool isRoot = item.path.empty();
    node.number = isRoot ? rootNumber : entry.contentID;
    node.entry = item.id;
    node.owner = ::geteuid();
    node.group = ::getegid();
    node.accessed = hostTime(entry.dates.access, m_mountedAt);
    node.modified = hostTime(entry.dates.contentMod, m_mountedAt);
    node.changed = hostTime(entry.dates.attributeMod, m_mountedAt);
    if (item.kind == EntryKind::folder) {
        node.mode = S_IFDIR | hfsplus::hostMode(entry);
        node.folder = std::make_unique<FolderNode>();
        m_folders.emplace(item.path, &node);
    } else if (item.kind == EntryKind::symlink) {
        node.mode = S_IFLNK | 0777;
        node.target = m_volume.linkTarget(entry);
        node.size = node.target.size();
    } else {
        node.mode = S_IFREG | hfsplus::hostMode(entry);
        node.size = entry.dataFork.logicalSize;
    }
    if (!m_nodes.emplace(node.number, std::move(owned)).second)
        throw bytes::FormatError("two entries of the volume share a file: " + item.path);
    if (isRoot) {
        node.links = 1;
        addCompanion(node, node, {});
        return node;
    }
    Node& folder = *m_folders.at(std::string(hfsplus::folderOf(item.path)));
    const std::string name(hfsplus::nameOf(item.path));
    if (folder.folder->children.contains(name))
        throw bytes::FormatError(
            "two entries of the volume become the same file here: " + item.path);
    enter(node, folder, name);
    addCompanion(node, folder, name);
    return node;
}

/// Metadata that attributes can't show lies in a file of its own, as everywhere on a host that has
/// no Mac's attributes.
void VolumeTree::addCompanion(Node& node, Node& folder, std::string_view name)
{
    const macfile::Metadata metadata = m_volume.metadata(*m_volume.entryWithID(node.entry));
    if (metadata.empty() || AttributeStore::fits(node, metadata))
        return;
    Node& place = node.isFolder() ? node : folder;
    const std::string companionName = node.isFolder() ? "._." : "._" + std::string(name);
    if (place.folder->children.contains(companionName))
        throw bytes::FormatError(
            "two entries of the volume become the same file here: " + companionName);
    Node& companion = add(S_IFREG | 0600);
    companion.owner = node.owner;
    companion.group = node.group;
    enter(companion, place, companionName);
    m_contents.show(companion, macfile::writeAppleDouble(metadata));
}

FolderSnapshot VolumeTree::snapshot() const
{
    std::vector<FolderSnapshot::Item> items;
    const Node& root = *m_nodes.at(rootNumber);
    items.push_back({"", hfsplus::rootFolderID, hfsplus::FileFacts(status(root))});
    takeSnapshot(root, "", items);
    return FolderSnapshot(std::move(items));
}

void VolumeTree::takeSnapshot(
    const Node& folder, const std::string& path, std::vector<FolderSnapshot::Item>& items) const
{
    for (const auto& [name, node] : folder.folder->children) {
        const std::string itsPath = path.empty() ? name : path + "/" + name;
        const auto link = m_linkIDs.find({&folder, name});
        items.push_back({itsPath, link == m_linkIDs.end() ? node->entry : link->second,
            hfsplus::FileFacts(status(*node))});
        if (node->isFolder())
            takeSnapshot(*node, itsPath, items);
    }
}

Node* VolumeTree::known(uint64_t number)
{
    const auto found = m_nodes.find(number);
    return found == m_nodes.end() ? nullptr : found->second.get();
}

Node& VolumeTree::node(uint64_t number)
{
    Node* found = known(number);
    if (found == nullptr)
        fail(ESTALE);
    return *found;
}

Node* VolumeTree::find(Node& folder, std::string_view name)
{
    if (!folder.isFolder())
        fail(ENOTDIR);
    const auto found = folder.folder->children.find(name);
    return found == folder.folder->children.end() ? nullptr : found->second;
}

bool VolumeTree::isUntouched(const Node& node) const
{
    if (node.isTouched || node.writers > 0)
        return false;
    return !node.isFolder() || std::ranges::all_of(node.folder->children, [this](auto& child) {
        return isUntouched(*child.second);
    });
}

struct stat VolumeTree::status(const Node& node) const
{
    struct stat status { };
    status.st_ino = node.number;
    status.st_mode = node.mode;
    status.st_nlink = node.links + (node.isFolder() ? ownNamesOfFolder - 1 : 0);
    status.st_uid = node.owner;
    status.st_gid = node.group;
    status.st_size = static_cast<off_t>(node.size);
    status.st_blksize = static_cast<blksize_t>(m_volume.header().blockSize);
    status.st_blocks = static_cast<blkcnt_t>((node.size + 511) / 512);
    status.st_atim = node.accessed;
    status.st_mtim = node.modified;
    status.st_ctim = node.changed;
    return status;
}

bool NameOrder::operator()(const std::u16string& a, const std::u16string& b) const
{
    return hfsplus::compareNames(a, b) < 0;
}

/// A name that the volume takes for one it has is not free either, but for that of `renamed`.
void VolumeTree::checkFree(Node& folder, const std::string& name, const std::string* renamed) const
{
    if (!folder.isFolder())
        fail(ENOTDIR);
    if (folder.folder->parent == nullptr && folder.number != rootNumber)
        fail(ENOENT); // it was removed
    const std::u16string onVolume = hfsplus::nameFromHost(name);
    if (folder.folder->children.contains(name))
        fail(EEXIST);
    if (m_volume.isCaseSensitive())
        return;
    const bool isRenamed =
        renamed != nullptr && hfsplus::compareNames(hfsplus::nameFromHost(*renamed), onVolume) == 0;
    if (!isRenamed && namesOf(folder).contains(onVolume))
        fail(EEXIST);
}

VolumeNames& VolumeTree::namesOf(Node& folder)
{
    std::optional<VolumeNames>& names = folder.folder->volumeNames;
    if (!names) {
        names.emplace();
        for (const auto& [name, child] : folder.folder->children)
            names->insert(hfsplus::nameFromHost(name));
    }
    return *names;
}

Node& VolumeTree::childOf(Node& folder, std::string_view name)
{
    Node* child = find(folder, name);
    if (child == nullptr)
        fail(ENOENT);
    return *child;
}

void VolumeTree::enter(Node& node, Node& folder, const std::string& name)
{
    folder.folder->children.emplace(name, &node);
    if (folder.folder->volumeNames)
        folder.folder->volumeNames->insert(hfsplus::nameFromHost(name));
    ++node.links;
    if (node.isFolder())
        node.folder->parent = &folder;
}

void VolumeTree::leave(Node& node, Node& folder, const std::string& name)
{
    folder.folder->children.erase(name);
    if (folder.folder->volumeNames)
        folder.folder->volumeNames->erase(hfsplus::nameFromHost(name));
    --node.links;
    if (node.isFolder())
        node.folder->parent = nullptr;
}

Node& VolumeTree::make(Node& folder, const std::string& name, mode_t mode, uid_t owner, gid_t group)
{
    if (!S_ISREG(mode) && !S_ISDIR(mode))
        fail(EPERM);
    checkFree(folder, name);
    Node& node = add(mode);
    node.owner = owner;
    node.group = group;
    enter(node, folder, name);
    touchNames(folder);
    return node;
}

Node& VolumeTree::makeSymlink(
    Node& folder, const std::string& name, const std::string& target, uid_t owner, gid_t group)
{
    checkFree(folder, name);
    if (target.size() > hfsplus::maximumLinkTarget)
        fail(ENAMETOOLONG);
    Node& node = add(S_IFLNK | 0777);
    node.owner = owner;
    node.group = group;
    node.target = target;
    node.size = target.size();
    enter(node, folder, name);
    touchNames(folder);
    return node;
}

void VolumeTree::link(Node& node, Node& folder, const std::string& name)
{
    if (node.isFolder())
        fail(EPERM);
    if (node.links == 0)
        fail(ENOENT);
    checkFree(folder, name);
    enter(node, folder, name);
    touch(node);
    touchNames(folder);
}

void VolumeTree::unlink(Node& folder, const std::string& name)
{
    Node& node = childOf(folder, name);
    if (node.isFolder())
        fail(EISDIR);
    leave(node, folder, name);
    touch(node);
    touchNames(folder);
    dropIfUnused(node);
}

void VolumeTree::removeFolder(Node& folder, const std::string& name)
{
    Node& node = childOf(folder, name);
    if (!node.isFolder())
        fail(ENOTDIR);
    if (!node.folder->children.empty())
        fail(ENOTEMPTY);
    leave(node, folder, name);
    touch(node);
    touchNames(folder);
    dropIfUnused(node);
}

void VolumeTree::rename(Node& folder, const std::string& name, Node& newFolder,
    const std::string& newName, Renaming way)
{
    Node& node = childOf(folder, name);
    Node* other = find(newFolder, newName);
    if (node.isFolder() && isWithin(newFolder, node))
        fail(EINVAL);
    if (way == Renaming::exchange) {
        if (other == nullptr)
            fail(ENOENT);
        if (other->isFolder() && isWithin(folder, *other))
            fail(EINVAL);
        leave(node, folder, name);
        leave(*other, newFolder, newName);
        enter(*other, folder, name);
        enter(node, newFolder, newName);
        touch(node);
        touch(*other);
        touchNames(folder);
        touchNames(newFolder);
        return;
    }
    if (other == &node)
        return;
    if (other == nullptr) {
        checkFree(newFolder, newName, &folder == &newFolder ? &name : nullptr);
    } else {
        if (way == Renaming::keep)
            fail(EEXIST);
        if (other->isFolder() != node.isFolder())
            fail(other->isFolder() ? EISDIR : ENOTDIR);
        if (other->isFolder())
            removeFolder(newFolder, newName);
        else
            unlink(newFolder, newName);
    }
    leave(node, folder, name);
    enter(node, newFolder, newName);
    touch(node);
    touchNames(folder);
    touchNames(newFolder);
}

void VolumeTree::forget(uint64_t number, uint64_t lookups)
{
    Node* node = known(number);
    if (node == nullptr)
        return;
    node->lookups -= std::min(node->lookups, lookups);
    dropIfUnused(*node);
}

void VolumeTree::dropIfUnused(Node& node)
{
    if (node.links > 0 || node.lookups > 0 || node.opened > 0 || node.number == rootNumber)
        return;
    m_contents.drop(node);
    m_nodes.erase(node.number);
}

} // namespace mounting
