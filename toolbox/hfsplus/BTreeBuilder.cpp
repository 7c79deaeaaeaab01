#include "hfsplus/BTreeBuilder.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <numeric>
#include <stdexcept>

namespace hfsplus {

namespace {

void store(std::span<std::byte> node, std::size_t at, std::span<const std::byte> bytes)
{
    std::memcpy(node.subspan(at, bytes.size()).data(), bytes.data(), bytes.size());
}

/// Writes where record `index` starts into the table at the node's end.
void storeOffset(std::span<std::byte> node, std::size_t index, std::size_t offset)
{
    const be16 stored(static_cast<uint16_t>(offset));
    store(node, node.size() - 2 * (index + 1), bytes::recordBytes(stored));
}

std::size_t keySize(std::span<const std::byte> key)
{
    return 2U + bytes::recordAt<be16>(key);
}

uint32_t bitsInHeader(uint32_t nodeSize)
{
    return (nodeSize - headerMapOffset - 8) * 8;
}

uint32_t bitsInMapNode(uint32_t nodeSize)
{
    return (nodeSize - uint32_t{sizeof(NodeDescriptor)} - 6) * 8;
}

/// Sets the first `count` bits of `map`.
void setBits(std::span<std::byte> map, uint32_t count)
{
    std::fill_n(map.begin(), count / 8, std::byte{0xFF});
    if (count % 8 != 0)
        map[count / 8] = static_cast<std::byte>(0xFF00U >> (count % 8));
}

} // namespace

LevelPacker::LevelPacker(
    const TreeShape& shape, const NodeSink& sink, int8_t kind, uint8_t height, uint32_t firstNode)
    : m_shape(shape)
    , m_sink(sink)
    , m_node(shape.nodeSize)
    , m_firstNode(firstNode)
    , m_lastNode(firstNode - 1)
{
    m_descriptor.kind = kind;
    m_descriptor.height = height;
}

bool LevelPacker::fits(std::size_t recordSize) const
{
    const std::size_t used = m_used + 2 * (m_count + 1U); // with the offset of the free space
    const std::size_t room = m_shape.nodeSize - used;
    if (room < recordSize + 2)
        return false;
    // A level shrinks only if its nodes hold two records at least, whatever the wished fill.
    return m_count < 2
        || used + recordSize + 2 <= std::size_t{m_shape.nodeSize} * m_shape.fill / 100;
}

void LevelPacker::add(std::span<const std::byte> key, std::span<const std::byte> data)
{
    assert(key.size() == keySize(key) && key.size() <= 2U + m_shape.maxKeyLength);
    const std::size_t recordSize = key.size() + data.size() + data.size() % 2;
    if (m_count == 0 || !fits(recordSize)) {
        if (m_count != 0)
            finishNode(m_lastNode + 1);
        startNode();
        m_firstKeys.insert(m_firstKeys.end(), key.begin(), key.end());
        if (!fits(recordSize))
            throw std::length_error("a record is larger than a node of its tree");
    }
    store(m_node, m_used, key);
    store(m_node, m_used + key.size(), data);
    storeOffset(m_node, m_count++, m_used);
    m_used += recordSize;
}

void LevelPacker::close()
{
    if (m_count != 0)
        finishNode(0);
    m_count = 0;
}

void LevelPacker::startNode()
{
    std::fill(m_node.begin(), m_node.end(), std::byte{});
    m_used = sizeof(NodeDescriptor);
    m_count = 0;
    ++m_lastNode;
}

void LevelPacker::finishNode(uint32_t nextNode)
{
    if (!m_sink)
        return;
    m_descriptor.fLink = nextNode;
    m_descriptor.bLink = m_lastNode == m_firstNode ? 0 : m_lastNode - 1;
    m_descriptor.numRecords = m_count;
    store(m_node, 0, bytes::recordBytes(m_descriptor));
    storeOffset(m_node, m_count, m_used);
    m_sink(m_lastNode, m_node);
}

BTreeBuilder::BTreeBuilder(TreeShape shape, NodeSink sink)
    : m_shape(shape)
    , m_sink(std::move(sink))
    , m_leaves(m_shape, m_sink, leafNode, 1, 1)
{ }

void BTreeBuilder::add(std::span<const std::byte> key, std::span<const std::byte> data)
{
    m_leaves.add(key, data);
    ++m_leafRecords;
}

TreeHeader BTreeBuilder::finish(uint32_t wantedNodes)
{
    TreeHeader header{};
    m_leaves.close();
    uint32_t used = 1;
    if (m_leafRecords != 0)
        used = packIndex(header);

    // Map nodes take room in the very tree that they map.
    uint32_t total = std::max(used, wantedNodes);
    while (total < used + mapNodesFor(total, m_shape.nodeSize))
        total = used + mapNodesFor(total, m_shape.nodeSize);
    const uint32_t mapCount = mapNodesFor(total, m_shape.nodeSize);

    header.leafRecords = m_leafRecords;
    header.nodeSize = static_cast<uint16_t>(m_shape.nodeSize);
    header.maxKeyLength = m_shape.maxKeyLength;
    header.totalNodes = total;
    header.freeNodes = total - used - mapCount;
    header.clumpSize = m_shape.clumpSize;
    header.keyCompareType = m_shape.keyCompareType;
    header.attributes = m_shape.attributes;
    if (m_sink)
        writeMaps(header, used, mapCount);
    return header;
}

uint32_t BTreeBuilder::packIndex(TreeHeader& header)
{
    header.firstLeafNode = m_leaves.firstNode();
    header.lastLeafNode = m_leaves.lastNode();
    const auto keysOf = [](const LevelPacker& level) {
        return std::vector<std::byte>(level.firstKeys().begin(), level.firstKeys().end());
    };
    uint32_t first = m_leaves.firstNode();
    uint32_t last = m_leaves.lastNode();
    std::vector<std::byte> childKeys = keysOf(m_leaves);
    uint8_t height = 1;
    while (first != last) {
        LevelPacker level(m_shape, m_sink, indexNode, ++height, last + 1);
        std::span<const std::byte> keys = childKeys;
        for (uint32_t child = first; child <= last; ++child) {
            const std::size_t size = keySize(keys);
            level.add(keys.first(size), bytes::recordBytes(be32(child)));
            keys = keys.subspan(size);
        }
        level.close();
        first = level.firstNode();
        last = level.lastNode();
        childKeys = keysOf(level);
    }
    header.treeDepth = height;
    header.rootNode = last;
    return last + 1;
}

void BTreeBuilder::writeMaps(const TreeHeader& header, uint32_t firstMap, uint32_t mapCount)
{
    std::vector<std::byte> node(m_shape.nodeSize);
    uint32_t marked = header.totalNodes - header.freeNodes;
    for (uint32_t i = 0; i < mapCount; ++i) {
        std::fill(node.begin(), node.end(), std::byte{});
        NodeDescriptor descriptor{};
        descriptor.kind = mapNode;
        descriptor.numRecords = uint16_t{1};
        descriptor.fLink = i + 1 < mapCount ? firstMap + i + 1 : 0;
        store(node, 0, bytes::recordBytes(descriptor));
        const uint32_t before =
            bitsInHeader(m_shape.nodeSize) + i * bitsInMapNode(m_shape.nodeSize);
        const uint32_t bits = marked > before ? marked - before : 0;
        setBits(std::span(node).subspan(sizeof(NodeDescriptor)),
            std::min(bits, bitsInMapNode(m_shape.nodeSize)));
        storeOffset(node, 0, sizeof(NodeDescriptor));
        storeOffset(node, 1, m_shape.nodeSize - 6);
        m_sink(firstMap + i, node);
    }

    std::fill(node.begin(), node.end(), std::byte{});
    NodeDescriptor descriptor{};
    descriptor.kind = headerNode;
    descriptor.numRecords = uint16_t{3};
    descriptor.fLink = mapCount != 0 ? firstMap : 0;
    store(node, 0, bytes::recordBytes(descriptor));
    store(node, headerRecordOffset, bytes::recordBytes(header));
    setBits(
        std::span(node).subspan(headerMapOffset), std::min(marked, bitsInHeader(m_shape.nodeSize)));
    const uint32_t offsets[] = {
        headerRecordOffset, userDataOffset, headerMapOffset, m_shape.nodeSize - 8};
    for (std::size_t i = 0; i < std::size(offsets); ++i)
        storeOffset(node, i, offsets[i]);
    m_sink(0, node);
}

uint32_t mapNodesFor(uint32_t totalNodes, uint32_t nodeSize)
{
    const uint32_t inHeader = bitsInHeader(nodeSize);
    if (totalNodes <= inHeader)
        return 0;
    const uint32_t perNode = bitsInMapNode(nodeSize);
    return (totalNodes - inHeader + perNode - 1) / perNode;
}

uint32_t nodesWithSpare(uint32_t uses, uint32_t nodeSize, uint32_t blockSize)
{
    const uint32_t wanted = uses + uses / 20 + 8;
    const uint32_t step = std::max(blockSize / std::gcd(blockSize, nodeSize), 1U);
    return (wanted + step - 1) / step * step;
}

} // namespace hfsplus
