#pragma once

#include "hfsplus/TreeEdit.h"

#include <string>
#include <unordered_map>
#include <variant>

namespace hfsplus {

/// The catalog of a volume while it is being changed: keeps threads, the folders' counts and the
/// volume's counts in step with what is added and removed.
class CatalogEdit {
public:
    /// Throws bytes::FormatError for a damaged catalog.
    CatalogEdit(const bytes::ByteSource& file, const VolumeHeader& header, bool caseSensitive);

    bool contains(CatalogID id) const;
    bool isFolder(CatalogID id) const;
    /// The record of a folder or file, to be changed in place. Throws bytes::FormatError when
    /// there is none.
    CatalogFolder& folder(CatalogID id);
    CatalogFile& file(CatalogID id);
    /// What lay in a folder on the volume and wasn't removed.
    std::vector<CatalogID> children(CatalogID folder) const;
    CatalogID parentOf(CatalogID id) const;

    /// Removes one entry, of a folder only its own records.
    void remove(CatalogID id);
    /// Gives `record` a new ID and a place. Throws bytes::FormatError when the folder has an
    /// equivalent name already.
    CatalogID add(CatalogID parent, std::u16string name, CatalogFolder record);
    CatalogID add(CatalogID parent, std::u16string name, CatalogFile record);

    /// Puts all changes into the tree and the counts into `header`. To be called once, last.
    void commit(VolumeHeader& header);
    TreeEdit& tree() { return m_tree; }

private:
    static constexpr std::size_t none = SIZE_MAX;
    using AnyRecord = std::variant<CatalogFolder, CatalogFile>;
    struct Places {
        std::size_t record = none, thread = none;
    };
    struct NewEntry {
        CatalogID parent;
        std::u16string name;
    };

    void index();
    const Places& placesOf(CatalogID id) const;
    AnyRecord& edited(CatalogID id);
    CatalogID addAny(CatalogID parent, std::u16string name, AnyRecord record);
    void countChild(CatalogID parent, bool folder, int by);
    void commitNew(CatalogID id, const NewEntry& entry);

    TreeEdit m_tree;
    bool m_countsFolders; // HFSX keeps a count of each folder's folders
    std::unordered_map<CatalogID, Places> m_places;
    std::map<CatalogID, AnyRecord> m_edited;
    std::map<CatalogID, NewEntry> m_new;
    std::map<std::vector<std::byte>, CatalogID, TreeEdit::Less> m_newKeys;
    CatalogID m_nextID;
    int64_t m_files = 0, m_folders = 0; // added less removed
};

} // namespace hfsplus
