#include "hfsplus/Catalog.h"

#include "bytes/ByteReader.h"
#include "bytes/FormatError.h"

#include <algorithm>
#include <numeric>

namespace hfsplus {

Catalog::Catalog(const BTreeReader& tree)
{
    tree.visitLeaves([this](const TreeRecord& record) { add(record); });
    if (!std::ranges::is_sorted(m_items, {}, &Item::parent))
        throw bytes::FormatError("the catalog's records are out of order");
    indexIDs();
    const Item* root = find(rootFolderID);
    if (!root || !root->folder || root->parent != rootParentID)
        throw bytes::FormatError("the catalog has no root folder");
}

void Catalog::add(const TreeRecord& record)
{
    bytes::ByteReader data(record.data, record.dataOffset);
    const uint16_t type = data.u16();
    if (type == folderThreadRecord || type == fileThreadRecord)
        return;
    if (type != folderRecord && type != fileRecord)
        data.fail("a catalog record is of the unknown type " + std::to_string(type));
    const bool folder = type == folderRecord;
    const std::size_t length = folder ? sizeof(CatalogFolder) : sizeof(CatalogFile);
    data.seek(0);
    const auto stored = data.take(length);

    bytes::ByteReader key(record.key.subspan(2));
    const CatalogID parent = key.u32();
    const std::u16string name = key.utf16(key.u16());
    if (name.size() > maximumNameUnits || m_names.size() > UINT32_MAX - maximumNameUnits
        || m_records.size() > UINT32_MAX - length)
        data.fail("a catalog name is too long");
    m_items.push_back({.parent = parent,
        .id = folder ? bytes::recordAt<CatalogFolder>(stored).folderID
                     : bytes::recordAt<CatalogFile>(stored).fileID,
        .folder = folder,
        .nameUnits = static_cast<uint8_t>(name.size()),
        .name = static_cast<uint32_t>(m_names.size()),
        .record = static_cast<uint32_t>(m_records.size())});
    m_names += name;
    m_records.insert(m_records.end(), stored.begin(), stored.end());
}

void Catalog::indexIDs()
{
    m_byID.resize(m_items.size());
    std::iota(m_byID.begin(), m_byID.end(), 0U);
    const auto id = [this](uint32_t place) { return m_items[place].id; };
    std::ranges::sort(m_byID, {}, id);
    const auto twice = std::ranges::adjacent_find(m_byID, {}, id);
    if (twice != m_byID.end())
        throw bytes::FormatError(
            "two catalog records have the ID " + std::to_string(m_items[*twice].id));
}

std::u16string_view Catalog::name(const Item& item) const
{
    return std::u16string_view(m_names).substr(item.name, item.nameUnits);
}

CatalogFolder Catalog::folder(const Item& item) const
{
    return bytes::recordAt<CatalogFolder>(std::span(m_records).subspan(item.record));
}

CatalogFile Catalog::file(const Item& item) const
{
    return bytes::recordAt<CatalogFile>(std::span(m_records).subspan(item.record));
}

const Catalog::Item* Catalog::find(CatalogID id) const
{
    const auto found = std::ranges::lower_bound(
        m_byID, id, {}, [this](uint32_t place) { return m_items[place].id; });
    return found != m_byID.end() && m_items[*found].id == id ? &m_items[*found] : nullptr;
}

std::span<const Catalog::Item> Catalog::children(CatalogID folder) const
{
    return {std::ranges::lower_bound(m_items, folder, {}, &Item::parent),
        std::ranges::upper_bound(m_items, folder, {}, &Item::parent)};
}

} // namespace hfsplus
