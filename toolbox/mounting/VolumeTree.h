#pragma once

#include "hfsplus/FolderSnapshot.h"
#include "hfsplus/LayoutPlan.h"
#include "mounting/AttributeStore.h"
#include "mounting/ContentStore.h"

#include <string_view>
#include <unordered_map>

namespace mounting {

/// A volume as a tree of files that programs may change; the changes stay here and in the scratch
/// folder. Failing calls throw std::system_error with the code that the program is to see. For one
/// thread. Borrows the volume.
class VolumeTree {
public:
    static constexpr uint64_t rootNumber = 1;

    /// Files belong to this process's user.
    VolumeTree(const hfsplus::Volume& volume, const hfsplus::LayoutPlan& plan,
        std::filesystem::path scratchFolder);

    /// The state of all files now.
    hfsplus::FolderSnapshot snapshot() const;

    Node& root() { return node(rootNumber); }
    /// ESTALE for a number that was forgotten.
    Node& node(uint64_t number);
    /// Null for a number that was forgotten.
    Node* known(uint64_t number);
    /// Null when the folder has no such name.
    Node* find(Node& folder, std::string_view name);
    struct stat status(const Node& node) const;
    /// Whether nothing of it, and of what a folder holds, was changed since it was mounted.
    bool isUntouched(const Node& node) const;

    /// A file or folder, by the type in `mode`. EPERM for other types.
    Node& make(Node& folder, const std::string& name, mode_t mode, uid_t owner, gid_t group);
    Node& makeSymlink(
        Node& folder, const std::string& name, const std::string& target, uid_t owner, gid_t group);
    void link(Node& node, Node& folder, const std::string& name);
    /// A file's or link's name.
    void unlink(Node& folder, const std::string& name);
    void removeFolder(Node& folder, const std::string& name);
    enum class Renaming { replace, keep, exchange };
    void rename(Node& folder, const std::string& name, Node& newFolder, const std::string& newName,
        Renaming way);

    /// The kernel has dropped `lookups` references.
    void forget(uint64_t number, uint64_t lookups);
    /// Frees a node that has neither names nor users.
    void dropIfUnused(Node& node);

    ContentStore& contents() { return m_contents; }
    AttributeStore& attributes() { return m_attributes; }
    std::size_t count() const { return m_nodes.size(); }

private:
    Node& add(mode_t mode);
    Node& addFromVolume(const hfsplus::LayoutPlan::Item& item);
    void addCompanion(Node& node, Node& folder, std::string_view name);
    Node& childOf(Node& folder, std::string_view name);
    void checkFree(
        Node& folder, const std::string& name, const std::string* renamed = nullptr) const;
    static VolumeNames& namesOf(Node& folder);
    void enter(Node& node, Node& folder, const std::string& name);
    void leave(Node& node, Node& folder, const std::string& name);
    void takeSnapshot(const Node& folder, const std::string& path,
        std::vector<hfsplus::FolderSnapshot::Item>& items) const;

    const hfsplus::Volume& m_volume;
    ContentStore m_contents;
    AttributeStore m_attributes;
    timespec m_mountedAt;
    uint64_t m_nextNumber = uint64_t{1} << 32; // catalog node IDs end below
    std::unordered_map<uint64_t, std::unique_ptr<Node>> m_nodes;
    std::unordered_map<std::string, Node*> m_folders; // of the volume, by path, while it is built
    /// Of nodes with several names on the volume, the ID behind each: by folder and name.
    std::map<std::pair<const Node*, std::string>, hfsplus::CatalogID> m_linkIDs;
};

} // namespace mounting
