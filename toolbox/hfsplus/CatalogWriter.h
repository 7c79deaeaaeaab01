#pragma once

#include "hfsplus/BTreeBuilder.h"
#include "hfsplus/CatalogRecords.h"
#include "hfsplus/ContentPlan.h"
#include "hfsplus/VolumeLayout.h"

#include <optional>
#include <string>
#include <string_view>

namespace hfsplus {

/// Makes the catalog's records for a planned volume and hands them to a tree in its order. Needs
/// no sorting: IDs ascend with the plan's objects, whose children are in the catalog's order.
/// Borrows plan and layout; before the layout is settled the records have their final lengths
/// already, so that the tree can be measured.
class CatalogWriter {
public:
    /// No date will be later than `latestDate`, where there is one.
    CatalogWriter(const ContentPlan& plan, const VolumeLayout& layout, std::u16string volumeName,
        std::optional<uint32_t> latestDate);

    void writeTo(BTreeBuilder& tree);

private:
    void addChildren(uint32_t folder);
    void addObject(uint32_t index, CatalogID parent, std::u16string_view name);
    void addLink(uint32_t index, CatalogID parent, std::u16string_view name);
    void addPrivateFolder();
    void addPrivateFiles();
    void addThread(CatalogID id, bool isFolder, CatalogID parent, std::u16string_view name);
    void add(CatalogID parent, std::u16string_view name, std::span<const std::byte> data);

    CatalogFolder folderFor(uint32_t index) const;
    CatalogFile fileFor(uint32_t index) const;
    RecordDates datesOf(const ScannedObject& object) const;
    uint16_t attributeFlag(const ScannedObject& object) const;

    const ContentPlan& m_plan;
    const FolderScan& m_scan;
    const VolumeLayout& m_layout;
    std::u16string m_volumeName;
    uint32_t m_latestDate;
    BTreeBuilder* m_tree = nullptr; // while writing
};

} // namespace hfsplus
