#include "hfsplus/FolderChanges.h"

#include "bytes/File.h"
#include "hfsplus/SourceError.h"
#include "macfile/Metadata.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <set>

namespace hfsplus {

namespace {

constexpr std::string_view companionPrefix = "._";

HostItem itemFrom(std::string path, const struct stat& status)
{
    HostItem item;
    item.path = std::move(path);
    item.facts = FileFacts(status);
    item.owner = status.st_uid;
    item.group = status.st_gid;
    item.accessed = status.st_atim.tv_sec;
    return item;
}

std::vector<std::string> namesIn(const HostFolder& folder, const std::string& path)
{
    const int descriptor = ::openat(folder.descriptor(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(
        descriptor < 0 ? nullptr : ::fdopendir(descriptor), ::closedir);
    if (!stream)
        bytes::throwErrno(path);
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = ::readdir(stream.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            names.emplace_back(name);
        errno = 0;
    }
    if (errno != 0)
        bytes::throwErrno(path);
    return names;
}

class Lister {
public:
    Lister(
        const HostFolder& base, const FolderSnapshot& snapshot, const UntouchedFolder& isUntouched)
        : m_base(base)
        , m_snapshot(snapshot)
        , m_isUntouched(isUntouched)
    { }

    std::vector<HostItem> list()
    {
        struct stat status { };
        m_base.status(".", status);
        m_device = status.st_dev;
        m_items.push_back(itemFrom("", status));
        m_unlisted.push_back(0);
        while (!m_unlisted.empty()) {
            const HostItem folder = m_items[m_unlisted.back()];
            m_unlisted.pop_back();
            listOne(folder);
        }
        if (!m_problems.empty())
            throw SourceError(std::move(m_problems));
        std::ranges::sort(m_items, {}, &HostItem::path);
        return std::move(m_items);
    }

private:
    void listOne(const HostItem& item)
    {
        const std::string& path = item.path;
        const HostFolder folder = m_base.descend(path);
        const std::string prefix = path.empty() ? path : path + "/";
        // One that was moved here holds what the snapshot has elsewhere.
        const FolderSnapshot::Item* known = m_snapshot.find(path);
        if (m_isUntouched && m_isUntouched(folder) && known
            && known->facts.inode == item.facts.inode) {
            takeOver(prefix);
            return;
        }
        struct stat status { };
        for (const std::string& name : namesIn(folder, path))
            if (!folder.status(name.c_str(), status))
                continue;
            else if (S_ISDIR(status.st_mode) && status.st_dev != m_device)
                m_problems.push_back({prefix + name, "another volume is mounted there"});
            else
                addItem(folder, name, itemFrom(prefix + name, status));
    }

    void takeOver(const std::string& prefix)
    {
        for (const FolderSnapshot::Item& before : m_snapshot.below(prefix)) {
            HostItem item;
            item.path = before.path;
            item.facts = before.facts;
            item.isCompanion = before.id == 0;
            m_items.push_back(std::move(item));
        }
    }

    void addItem(const HostFolder& folder, const std::string& name, HostItem item)
    {
        if (name.starts_with(companionPrefix)) {
            const FolderSnapshot::Item* known = m_snapshot.find(item.path);
            // A companion stays one when its file is gone.
            const bool untouched = known && known->id == 0 && known->facts == item.facts;
            item.isCompanion = untouched
                || ((!known || known->id == 0) && macfile::isCompanion(folder.pathOf(name)));
        }
        if (item.isFolder())
            m_unlisted.push_back(m_items.size());
        if (item.isFolder() || item.isSymlink() || S_ISREG(item.facts.mode))
            m_items.push_back(std::move(item));
        else
            m_problems.push_back({item.path, "sockets, pipes and devices can't be copied"});
    }

    const HostFolder& m_base;
    const FolderSnapshot& m_snapshot;
    const UntouchedFolder& m_isUntouched;
    dev_t m_device = 0; // of the whole folder
    std::vector<HostItem> m_items;
    std::vector<std::size_t> m_unlisted; // folders among the items
    std::vector<SourceError::Problem> m_problems;
};

/// The path whose metadata the companion at `path` holds.
std::string ownerOf(std::string_view path)
{
    std::string owner(folderOf(path));
    const std::string_view name = nameOf(path);
    if (name == "._.")
        return owner;
    if (!owner.empty())
        owner += '/';
    return owner.append(name.substr(companionPrefix.size()));
}

} // namespace

std::vector<HostItem> listFolder(
    const HostFolder& folder, const FolderSnapshot& snapshot, const UntouchedFolder& isUntouched)
{
    return Lister(folder, snapshot, isUntouched).list();
}

FolderChanges FolderChanges::between(const FolderSnapshot& before, std::span<const HostItem> now,
    const std::function<bool(CatalogID)>& isOneOfSeveral)
{
    FolderChanges changes;
    std::set<std::string> companionTouched;
    std::vector<Touched> same;
    auto old = before.items().begin();
    const auto oldEnd = before.items().end();
    const auto drop = [&](const FolderSnapshot::Item& item) {
        if (item.id != 0)
            changes.removed.push_back(&item);
        else
            companionTouched.insert(ownerOf(item.path));
    };
    const auto appear = [&](const HostItem& item) {
        if (!item.isCompanion)
            changes.added.push_back(&item);
        else
            companionTouched.insert(ownerOf(item.path));
    };
    for (const HostItem& item : now) {
        for (; old != oldEnd && old->path < item.path; ++old)
            drop(*old);
        if (old == oldEnd || old->path != item.path) {
            appear(item);
            continue;
        }
        const bool sameKind = (old->facts.mode & S_IFMT) == (item.facts.mode & S_IFMT)
            && (old->id == 0) == item.isCompanion;
        const bool replaced =
            sameKind && old->facts.inode != item.facts.inode && isOneOfSeveral(old->id);
        if (!sameKind || replaced) {
            drop(*old);
            appear(item);
        } else if (item.isCompanion) {
            if (old->facts != item.facts)
                companionTouched.insert(ownerOf(item.path));
        } else {
            same.push_back({&*old, &item});
        }
        ++old;
    }
    for (; old != oldEnd; ++old)
        drop(*old);
    for (const Touched& item : same)
        if (item.before->facts != item.now->facts || companionTouched.contains(item.now->path))
            changes.touched.push_back(item);
    return changes;
}

} // namespace hfsplus
