#pragma once

#include "hfsplus/BTreeReader.h"

#include <optional>
#include <string_view>
#include <vector>

namespace hfsplus {

/// The file and folder records of a catalog, kept as they were stored in one buffer: about 350
/// bytes a file. Threads are left out, everything is found through parents.
class Catalog {
public:
    struct Item {
        CatalogID parent;
        CatalogID id;
        bool folder;
        uint8_t nameUnits;
        uint32_t name; // where its units start
        uint32_t record; // where its record starts
    };

    Catalog() = default;
    /// Reads all leaves. Throws FormatError for records that are too short, names that are too
    /// long, IDs that occur twice and a missing root folder.
    explicit Catalog(const BTreeReader& tree);

    const std::vector<Item>& items() const { return m_items; }
    std::u16string_view name(const Item& item) const;
    CatalogFolder folder(const Item& item) const;
    CatalogFile file(const Item& item) const;

    /// Null when nothing has this ID.
    const Item* find(CatalogID id) const;
    /// What lies directly in a folder, in the catalog's order.
    std::span<const Item> children(CatalogID folder) const;

private:
    void add(const TreeRecord& record);
    void indexIDs();

    std::vector<Item> m_items; // by parent
    std::vector<uint32_t> m_byID; // places in m_items
    std::u16string m_names;
    std::vector<std::byte> m_records;
};

} // namespace hfsplus
