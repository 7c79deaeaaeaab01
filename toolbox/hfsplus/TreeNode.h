#pragma once

#include "hfsplus/Records.h"

#include <cstddef>
#include <span>
#include <string>

namespace hfsplus {

/// One keyed record of a leaf or index node, lying in the node's bytes.
struct TreeRecord {
    uint32_t node = 0;
    std::span<const std::byte> key; // its length field included
    std::span<const std::byte> data;
    uint64_t dataOffset = 0; // of `data` within the tree's file
};

/// One node of a B-tree, its offsets checked: even, ascending, inside the node (Apple TN1150).
/// Borrows the bytes.
class TreeNode {
public:
    /// `number` is the node's place in the tree. Throws FormatError.
    TreeNode(std::span<const std::byte> raw, uint32_t number);

    const NodeDescriptor& descriptor() const { return m_descriptor; }
    std::size_t count() const { return m_descriptor.numRecords; }
    /// Record `index` as it lies there.
    std::span<const std::byte> record(std::size_t index) const;
    /// Record `index` cut into key and data. Throws FormatError when the key is longer than
    /// `maximumKeyLength` or than the record.
    TreeRecord keyedRecord(std::size_t index, uint16_t maximumKeyLength) const;
    std::span<const std::byte> freeSpace() const;

private:
    /// Where record `index` starts; the one after the last is the free space.
    std::size_t offsetOf(std::size_t index) const;
    [[noreturn]] void fail(const std::string& what) const;

    std::span<const std::byte> m_raw;
    uint32_t m_number;
    NodeDescriptor m_descriptor;
};

} // namespace hfsplus
