#pragma once

#include "hfsplus/ForkReader.h"
#include "hfsplus/TreeNode.h"

#include <string>

namespace hfsplus {

/// The extended attributes of a volume: values that lie in the tree are kept, of the others the
/// place.
class AttributeTable {
public:
    struct Value {
        CatalogID file = 0;
        std::u16string name;
        std::vector<std::byte> data; // of an inline value
        bool inFork = false;
        uint64_t size = 0;
        uint32_t totalBlocks = 0; // of a value in blocks of its own
        std::vector<BlockRun> runs;
        uint64_t runBlocks = 0; // in all of `runs`
    };

    /// Takes over one leaf record of the tree. Throws FormatError when it is none of its kind or
    /// follows in the wrong order.
    void add(const TreeRecord& record, uint32_t volumeBlocks);

    const std::vector<Value>& values() const { return m_values; }
    /// Those of one file or folder, by name.
    std::span<const Value> of(CatalogID file) const;

private:
    std::vector<Value> m_values; // by file
};

} // namespace hfsplus
