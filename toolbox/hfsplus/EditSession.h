#pragma once

#include "hfsplus/AttributesEdit.h"
#include "hfsplus/CatalogEdit.h"
#include "hfsplus/FolderChanges.h"
#include "hfsplus/Volume.h"
#include "hfsplus/VolumeEditor.h"

#include <set>

namespace hfsplus {

/// One edit of a volume: everything is decided in memory first, then written. Borrows all that it
/// is given.
class EditSession {
public:
    EditSession(bytes::ByteDevice& device, const Volume& volume, const HostFolder& host,
        const FolderSnapshot& snapshot, EditOptions options);

    /// Decides what becomes of the volume. Throws BlockAllocator::NoSpaceCondition and what
    /// VolumeEditor says.
    void plan(const FolderChanges& changes);
    EditReport write();

private:
    BlockAllocator openAllocator();

    void remove(CatalogID id);
    void removeOne(CatalogID id);
    void unlink(CatalogID id, const CatalogFile& link);
    void dropForks(CatalogID id, const CatalogFile& file);
    std::vector<BlockRun> runsOfFork(CatalogID id, uint8_t forkType, const ForkData& fork) const;

    void add(const HostItem& item);
    CatalogID idOfFolder(std::string_view path) const;
    void addFolder(const HostItem& item, CatalogID parent);
    void addFile(const HostItem& item, CatalogID parent);
    ForkContent contentOf(const HostItem& item) const;

    void noteNames(const FolderChanges& changes);
    void update(const FolderChanges::Touched& touched);
    template <typename Record>
    void updateRecord(Record& record, const Entry& entry, const FolderChanges::Touched& touched);
    void updateData(CatalogFile& file, const Entry& entry, const HostItem& item);
    template <typename Record>
    void setMetadata(CatalogID id, Record& record, const macfile::Metadata& metadata, bool symlink);
    macfile::Metadata hostMetadata(const HostItem& item) const;
    macfile::Metadata metadataOf(const Entry& entry, const HostItem& item) const;
    bool hasSameData(const Entry& entry, const HostItem& item) const;
    void flagAttributes();

    void growTree(TreeEdit& tree, CatalogID id, ForkData& fork);
    void finishHeader();
    void writeTree(const TreeEdit& tree, CatalogID id, const ForkData& fork);
    void writeBitmap();
    void writeAt(uint64_t offset, std::span<const std::byte> raw);

    bytes::ByteDevice& m_device;
    const Volume& m_volume;
    const HostFolder& m_host;
    const FolderSnapshot& m_snapshot;
    uint32_t m_now;
    uint32_t m_latest; // that any date becomes
    VolumeHeader m_header;
    std::vector<std::byte> m_oldBitmap;
    ForkStore m_forks;
    CatalogEdit m_catalog;
    AttributesEdit m_attributes;
    std::unordered_map<std::string, CatalogID> m_newFolders; // by path
    std::map<CatalogID, std::vector<BlockRun>> m_treeRuns; // of the three trees
    std::map<CatalogID, std::vector<const HostItem*>> m_names; // of touched files with several
    std::set<CatalogID> m_attributesChanged, m_updated;
    EditReport m_report;
};

} // namespace hfsplus
