#pragma once

#include "bytes/ByteDevice.h"
#include "hfsplus/TreeNode.h"

#include <functional>
#include <string>

namespace hfsplus {

/// Reads the leaf records of a B-tree file along its leaf chain. What the file claims is checked
/// before use, every node is visited at most once and memory stays at one node. Borrows the file.
class BTreeReader {
public:
    static constexpr uint16_t maximumDepth = 16;
    /// What the nodes of a tree may have in all, unused ones aside. Records are kept in memory, and
    /// a few megabytes of an image unpack to gigabytes of them. A catalog of 1.5 million files has
    /// this much.
    static constexpr uint64_t largestContent = uint64_t{512} << 20;

    /// `name` is for messages ("catalog"). Throws FormatError when the header node is no header of
    /// a tree of such keys or promises more nodes than the file has.
    BTreeReader(const bytes::ByteSource& file, std::string name, uint16_t maximumKeyLength);

    const TreeHeader& header() const { return m_header; }
    /// Visits every leaf record in the chain's order; its spans last for the call. Throws
    /// FormatError at the first damage.
    void visitLeaves(const std::function<void(const TreeRecord&)>& visit) const;

private:
    void checkHeader() const;
    [[noreturn]] void fail(const std::string& what, uint64_t offset) const;

    const bytes::ByteSource& m_file;
    std::string m_name;
    uint16_t m_maximumKeyLength;
    TreeHeader m_header;
};

/// The header record of the tree in `file`, with nothing checked but that it is there.
TreeHeader treeHeaderOf(const bytes::ByteSource& file);

} // namespace hfsplus
