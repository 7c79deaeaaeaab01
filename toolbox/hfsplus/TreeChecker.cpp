#include "hfsplus/TreeChecker.h"

#include "bytes/ByteReader.h"
#include "bytes/FormatError.h"
#include "bytes/Zeros.h"
#include "hfsplus/BTreeReader.h"

#include <algorithm>
#include <bit>

namespace hfsplus {

namespace {

/// Every node is looked at, and an image of some bytes can promise terabytes of empty ones. A
/// catalog of 20 million files has half of this.
constexpr uint64_t largestTree = uint64_t{16} << 30;

} // namespace

TreeChecker::TreeChecker(const bytes::ByteSource& file, Rules rules, Findings& findings)
    : m_file(file)
    , m_rules(std::move(rules))
    , m_findings(findings)
{ }

void TreeChecker::check(const Visit& visit)
{
    try {
        if (!checkHeader())
            return;
        readMap();
        checkLevels(visit);
        checkMap();
    } catch (const bytes::FormatError& error) {
        report(error.what());
    }
}

bool TreeChecker::checkHeader()
{
    m_header = treeHeaderOf(m_file);
    const uint32_t nodeSize = m_header.nodeSize;
    if (nodeSize < 512 || nodeSize > 32768 || !std::has_single_bit(nodeSize)) {
        report(0, "the header says nodes have " + std::to_string(nodeSize) + " bytes");
        return false;
    }
    if (m_header.totalNodes == 0 || m_file.size() / nodeSize < m_header.totalNodes) {
        report(0, "the header promises more nodes than the file has");
        return false;
    }
    if (m_file.size() > largestTree) {
        report("larger than the tree of any volume");
        return false;
    }
    if (m_file.size() != uint64_t{m_header.totalNodes} * nodeSize)
        report(0, "the header's number of nodes doesn't fill the file");
    if (m_header.maxKeyLength != m_rules.maximumKeyLength)
        report(0, "the longest key is wrong in the header");
    if ((m_header.attributes & treeBigKeys) == 0)
        report(0, "the header says that key lengths are short");
    m_reached.resize(m_header.totalNodes);
    claim(0);
    checkHeaderNode(TreeNode(nodeAt(0), 0));
    return true;
}

void TreeChecker::checkHeaderNode(const TreeNode& node)
{
    const NodeDescriptor& descriptor = node.descriptor();
    if (descriptor.kind != headerNode || descriptor.height != 0 || node.count() != 3)
        report(0, "is no header node");
    else if (node.record(0).size() != sizeof(TreeHeader)
        || node.record(1).size() != headerMapOffset - userDataOffset)
        report(0, "the header's records have the wrong lengths");
}

void TreeChecker::addMap(std::span<const std::byte> bits)
{
    for (const std::byte byte : bits)
        for (int bit = 0; bit < 8; ++bit)
            m_map.push_back((byte & std::byte{0x80} >> bit) != std::byte{0});
}

void TreeChecker::readMap()
{
    std::vector<std::byte> raw = nodeAt(0);
    TreeNode header(raw, 0);
    addMap(header.record(2));
    for (uint32_t number = header.descriptor().fLink; number != 0;) {
        if (!claim(number))
            return;
        raw = nodeAt(number);
        const TreeNode node(raw, number);
        if (node.descriptor().kind != mapNode || node.descriptor().height != 0
            || node.count() != 1) {
            report(number, "is no map node");
            return;
        }
        addMap(node.record(0));
        number = node.descriptor().fLink;
    }
}

void TreeChecker::checkLevels(const Visit& visit)
{
    const unsigned depth = m_header.treeDepth;
    if (m_header.rootNode == 0) {
        if (depth != 0 || m_header.leafRecords != 0 || m_header.firstLeafNode != 0
            || m_header.lastLeafNode != 0)
            report(0, "a tree without a root has depth or leaves");
        return;
    }
    if (depth == 0 || depth > BTreeReader::maximumDepth) {
        report(0, "node heights: the tree's depth is " + std::to_string(depth));
        return;
    }
    Level level{.height = depth, .nodes = {{m_header.rootNode, {}}}};
    while (level.height > 1 && !level.nodes.empty())
        level = checkLevel(level, visit);
    if (level.nodes.empty())
        return;
    if (level.nodes.front().node != m_header.firstLeafNode
        || level.nodes.back().node != m_header.lastLeafNode)
        report(0, "the header names the wrong first or last leaf");
    checkLevel(level, visit);
    if (m_leafRecords != m_header.leafRecords)
        report(0,
            "leaf record count is " + std::to_string(m_header.leafRecords) + ", should be "
                + std::to_string(m_leafRecords));
}

TreeChecker::Level TreeChecker::checkLevel(const Level& level, const Visit& visit)
{
    Level below{.height = level.height - 1, .nodes = {}};
    m_lastKey.clear();
    for (std::size_t at = 0; at < level.nodes.size() && !m_findings.isFull(); ++at) {
        const uint32_t number = level.nodes[at].node;
        if (!claim(number))
            continue;
        if ((m_content += m_header.nodeSize) > BTreeReader::largestContent) {
            report("has more records than are read");
            return {.height = 0, .nodes = {}};
        }
        try {
            const auto raw = nodeAt(number);
            const TreeNode node(raw, number);
            checkPlace(level, at, node.descriptor());
            const int8_t kind = level.height == 1 ? leafNode : indexNode;
            if (node.descriptor().kind == kind && node.descriptor().height == level.height)
                checkNode(level, at, node, below, visit);
            else
                report(number, "node height or kind is wrong");
        } catch (const bytes::FormatError& error) {
            report(error.what());
        }
    }
    return below;
}

void TreeChecker::checkPlace(const Level& level, std::size_t at, const NodeDescriptor& node)
{
    const auto& nodes = level.nodes;
    if (node.fLink != (at + 1 < nodes.size() ? nodes[at + 1].node : 0)
        || node.bLink != (at > 0 ? nodes[at - 1].node : 0))
        report(nodes[at].node, "sibling link is wrong");
}

void TreeChecker::checkNode(
    const Level& level, std::size_t at, const TreeNode& node, Level& below, const Visit& visit)
{
    const uint32_t number = level.nodes[at].node;
    if (node.count() == 0)
        report(number, "has no records");
    // What a driver does that deletes records in place.
    m_findings.prefer(bytes::isZero(node.freeSpace()),
        m_rules.name + " tree: node " + std::to_string(number)
            + ": has leftovers in its free space");
    for (std::size_t i = 0; i < node.count(); ++i) {
        const TreeRecord record = node.keyedRecord(i, m_rules.maximumKeyLength);
        if (!m_lastKey.empty() && !m_rules.less(m_lastKey, record.key))
            report(number, "keys out of order at record " + std::to_string(i));
        m_lastKey.assign(record.key.begin(), record.key.end());
        if (i == 0 && !level.nodes[at].key.empty() && level.nodes[at].key != m_lastKey)
            report(number, "index key differs from the node's first key");
        if (level.height == 1) {
            ++m_leafRecords;
            visit(record);
        } else if (record.data.size() != 4) {
            report(number, "index record " + std::to_string(i) + " names no node");
        } else {
            below.nodes.push_back({bytes::recordAt<be32>(record.data), m_lastKey});
        }
    }
}

bool TreeChecker::claim(uint32_t number)
{
    if (number >= m_header.totalNodes) {
        report(number, "lies behind the tree's end");
        return false;
    }
    if (m_reached[number]) {
        report(number, "is reached twice");
        return false;
    }
    m_reached[number] = true;
    return true;
}

void TreeChecker::checkMap()
{
    if (m_map.size() < m_header.totalNodes) {
        report("the node map is shorter than the tree");
        return;
    }
    uint32_t free = 0;
    for (uint32_t number = 0; number < m_header.totalNodes && !m_findings.isFull(); ++number) {
        free += m_map[number] ? 0 : 1;
        if (m_map[number] != m_reached[number])
            report(number,
                m_map[number] ? "is marked used, but nothing leads there"
                              : "is used, but marked free");
        if (!m_reached[number] && m_rules.unusedNodesAreZero && !bytes::isZero(nodeAt(number)))
            report(number, "unused node is not erased");
    }
    if (std::find(m_map.begin() + m_header.totalNodes, m_map.end(), true) != m_map.end())
        report("the node map has bits behind the tree's end");
    if (free != m_header.freeNodes)
        report(0,
            "free nodes are " + std::to_string(m_header.freeNodes) + ", should be "
                + std::to_string(free));
}

std::vector<std::byte> TreeChecker::nodeAt(uint32_t number) const
{
    return m_file.read(uint64_t{number} * m_header.nodeSize, m_header.nodeSize);
}

void TreeChecker::report(const std::string& what)
{
    m_findings.add(m_rules.name + " tree: " + what);
}

void TreeChecker::report(uint32_t node, const std::string& what)
{
    report("node " + std::to_string(node) + ": " + what);
}

} // namespace hfsplus
