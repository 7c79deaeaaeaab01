#pragma once

#include "hfsplus/ForkStore.h"

namespace hfsplus {

/// The attributes tree of a volume while it is being changed.
class AttributesEdit {
public:
    /// An empty `file` stands for a volume that has no attributes yet. Borrows the store.
    AttributesEdit(const bytes::ByteSource& file, ForkStore& forks, uint32_t volumeBlocks);

    /// Removes what a file or folder has; the system's own attributes only with `systemToo`.
    void remove(CatalogID file, bool systemToo);
    void add(CatalogID file, const std::u16string& name, std::span<const std::byte> value);
    /// True when a file or folder has attributes by now.
    bool has(CatalogID file) const;

    TreeEdit& tree() { return m_tree; }

private:
    std::size_t firstOf(CatalogID file) const;
    bool isOf(std::size_t place, CatalogID file) const;
    void release(const TreeEdit::Record& record);
    void addFork(CatalogID file, const std::u16string& name, std::span<const std::byte> value);

    ForkStore& m_forks;
    uint32_t m_volumeBlocks;
    TreeEdit m_tree;
    std::map<CatalogID, uint32_t> m_added; // how many each file got
};

} // namespace hfsplus
