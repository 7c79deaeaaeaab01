#include "hfsplus/BTreeReader.h"

#include "bytes/FormatError.h"

#include <bit>

namespace hfsplus {

TreeHeader treeHeaderOf(const bytes::ByteSource& file)
{
    return bytes::recordAt<TreeHeader>(file.read(headerRecordOffset, sizeof(TreeHeader)));
}

BTreeReader::BTreeReader(const bytes::ByteSource& file, std::string name, uint16_t maximumKeyLength)
    : m_file(file)
    , m_name(std::move(name))
    , m_maximumKeyLength(maximumKeyLength)
    , m_header(treeHeaderOf(file))
{
    checkHeader();
}

void BTreeReader::checkHeader() const
{
    const uint32_t nodeSize = m_header.nodeSize, totalNodes = m_header.totalNodes;
    const auto descriptor = bytes::recordAt<NodeDescriptor>(m_file.read(0, sizeof(NodeDescriptor)));
    if (descriptor.kind != headerNode)
        fail("has no header node", 0);
    if (nodeSize < 512 || nodeSize > 32768 || !std::has_single_bit(nodeSize))
        fail("has nodes of " + std::to_string(nodeSize) + " bytes", headerRecordOffset + 18);
    if (totalNodes == 0 || m_file.size() / nodeSize < totalNodes)
        fail("has fewer nodes than its header says", headerRecordOffset + 22);
    if (m_header.treeDepth > maximumDepth)
        fail("is too deep", headerRecordOffset);
    if ((m_header.attributes & treeBigKeys) == 0)
        fail("has keys with short lengths", headerRecordOffset + 38);
    if (m_header.rootNode >= totalNodes || m_header.firstLeafNode >= totalNodes
        || m_header.lastLeafNode >= totalNodes)
        fail("has its root or leaves behind its end", headerRecordOffset + 2);
}

void BTreeReader::visitLeaves(const std::function<void(const TreeRecord&)>& visit) const
{
    const uint32_t nodeSize = m_header.nodeSize, totalNodes = m_header.totalNodes;
    std::vector<std::byte> raw(nodeSize);
    uint32_t before = 0, visited = 0;
    for (uint32_t number = m_header.firstLeafNode; number != 0;) {
        const uint64_t offset = uint64_t{number} * nodeSize;
        if (number >= totalNodes || ++visited > totalNodes)
            fail("has a leaf chain that leaves the tree or runs in circles", offset);
        if (uint64_t{visited} * nodeSize > largestContent)
            fail("has more records than are read", offset);
        m_file.readAt(offset, raw);
        const TreeNode node(raw, number);
        const NodeDescriptor& descriptor = node.descriptor();
        if (descriptor.kind != leafNode || descriptor.height != 1 || descriptor.bLink != before)
            fail("has a leaf chain through what is no such leaf", offset);
        for (std::size_t i = 0; i < node.count(); ++i)
            visit(node.keyedRecord(i, m_maximumKeyLength));
        before = number;
        number = descriptor.fLink;
    }
    if (before != m_header.lastLeafNode)
        fail("has a leaf chain that ends before its last leaf", headerRecordOffset + 14);
}

void BTreeReader::fail(const std::string& what, uint64_t offset) const
{
    throw bytes::FormatError("the " + m_name + " tree " + what, offset);
}

} // namespace hfsplus
