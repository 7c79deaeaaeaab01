#pragma once

#include "hfsplus/ForkChecker.h"

#include <string>
#include <unordered_map>

namespace hfsplus {

/// Checks what the catalog says: records, threads, hierarchy, counts, names, permissions, hard
/// links and, with the attributes' owners known, their flags.
class CatalogChecker {
public:
    /// Borrows all three.
    CatalogChecker(const VolumeHeader& header, ForkChecker& forks, Findings& findings);

    /// Takes over one leaf record.
    void add(const TreeRecord& record);
    /// One attribute record of `file` was seen.
    void addAttributeOwner(CatalogID file) { ++m_attributes[file]; }
    /// Checks everything, when all is added.
    void check();

    /// "/FOLDER/NAME (id = N)" for messages; a long path loses its beginning.
    std::string describe(CatalogID id) const;

private:
    struct Item {
        CatalogID parent = 0;
        std::u16string name;
        bool isFolder = false;
        CatalogFolder folder{};
        CatalogFile file{};
        uint32_t children = 0, folders = 0; // counted
    };
    struct Thread {
        bool isFolder;
        CatalogID parent;
        std::u16string name;
    };

    void addItem(
        CatalogID parent, std::u16string name, std::span<const std::byte> data, bool isFolder);
    void addThread(CatalogID id, const std::u16string& keyName, std::span<const std::byte> data);
    void checkRoot();
    void checkItem(CatalogID id, const Item& item);
    void checkName(const Item& item, const std::string& who);
    void checkThread(CatalogID id, const Item& item, const std::string& who);
    void checkHierarchy(CatalogID id, const std::string& who);
    void checkFolder(const Item& item, const std::string& who);
    void checkFile(CatalogID id, const Item& item, const std::string& who);
    void checkSymlink(const CatalogFile& file, const std::string& who);
    void checkDates(const RecordDates& dates, const std::string& who);
    void checkAttributeFlag(CatalogID id, uint16_t flags, const std::string& who);
    void checkHardLinks();
    void checkChain(CatalogID inode, const Item& item);
    void checkCounts();
    const Item* find(CatalogID id) const;
    bool isInode(const Item& item) const;

    const VolumeHeader& m_header;
    ForkChecker& m_forks;
    Findings& m_findings;
    std::map<CatalogID, Item> m_items;
    std::map<CatalogID, Thread> m_threads;
    std::unordered_map<CatalogID, uint32_t> m_attributes; // how many each has
    CatalogID m_privateFolder = 0;
    std::map<uint32_t, std::vector<CatalogID>> m_links; // by the inode's number
};

} // namespace hfsplus
