#pragma once

#include "hfsplus/TreeRecords.h"

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

namespace hfsplus {

/// What is fixed for all nodes of a tree.
struct TreeShape {
    uint32_t nodeSize; // bytes, a power of two from 512 to 32768
    uint16_t maxKeyLength;
    uint8_t keyCompareType = 0;
    uint32_t attributes = treeBigKeys | treeVariableIndexKeys;
    uint32_t clumpSize = 0; // bytes; what the tree's fork says
    /// How full nodes become, in percent. What is left lets a record be added without a split.
    unsigned fill = 100;
};

inline constexpr TreeShape catalogShape{
    .nodeSize = 8192, .maxKeyLength = maximumCatalogKey, .keyCompareType = foldingKeys};
inline constexpr TreeShape extentsShape{
    .nodeSize = 4096, .maxKeyLength = maximumExtentKey, .attributes = treeBigKeys};
inline constexpr TreeShape attributesShape{.nodeSize = 8192, .maxKeyLength = maximumAttributeKey};

/// Receives a finished node; the bytes are valid during the call only.
using NodeSink = std::function<void(uint32_t number, std::span<const std::byte> node)>;

/// Packs records into the nodes of one level, which get consecutive numbers.
class LevelPacker {
public:
    LevelPacker(const TreeShape& shape, const NodeSink& sink, int8_t kind, uint8_t height,
        uint32_t firstNode);

    void add(std::span<const std::byte> key, std::span<const std::byte> data);
    /// Hands out the last node. Nothing may be added after it.
    void close();

    uint32_t firstNode() const { return m_firstNode; }
    /// The last node so far; less than `firstNode` when there is none.
    uint32_t lastNode() const { return m_lastNode; }
    /// The first key of each node, one behind the other.
    std::span<const std::byte> firstKeys() const { return m_firstKeys; }

private:
    bool fits(std::size_t recordSize) const;
    void startNode();
    void finishNode(uint32_t nextNode);

    const TreeShape& m_shape;
    const NodeSink& m_sink;
    NodeDescriptor m_descriptor{};
    std::vector<std::byte> m_node;
    std::size_t m_used = 0; // bytes of m_node, counted from its start
    uint16_t m_count = 0; // records in m_node
    uint32_t m_firstNode;
    uint32_t m_lastNode;
    std::vector<std::byte> m_firstKeys;
};

/// Builds a B-tree from its leaves upward (Apple TN1150, "B-Trees"). Leaves go out while records
/// come in, so that memory holds one key a node and never the tree. Nodes that stay free are not
/// handed out: where the tree is put must read as zeros.
class BTreeBuilder {
public:
    /// An empty sink measures only.
    explicit BTreeBuilder(TreeShape shape, NodeSink sink = {});
    BTreeBuilder(const BTreeBuilder&) = delete;
    BTreeBuilder& operator=(const BTreeBuilder&) = delete;

    /// `key` starts with its length field. Records come in the tree's order, without duplicates:
    /// that is the caller's to ensure. Data of an odd length is padded.
    void add(std::span<const std::byte> key, std::span<const std::byte> data);

    /// Completes a tree of `wantedNodes` nodes, or of as many as it takes when that is more, and
    /// says what its header says.
    TreeHeader finish(uint32_t wantedNodes = 0);

private:
    /// The index levels; leaves the number of the first node behind them.
    uint32_t packIndex(TreeHeader& header);
    void writeMaps(const TreeHeader& header, uint32_t firstMap, uint32_t mapCount);

    TreeShape m_shape;
    NodeSink m_sink;
    LevelPacker m_leaves;
    uint32_t m_leafRecords = 0;
};

/// How many map nodes a tree of `totalNodes` nodes has beside the map in its header node.
uint32_t mapNodesFor(uint32_t totalNodes, uint32_t nodeSize);

/// Nodes that a tree should have in all when it `uses` so many and is going to be edited: about a
/// twentieth more, filled up to whole blocks.
uint32_t nodesWithSpare(uint32_t uses, uint32_t nodeSize, uint32_t blockSize);

} // namespace hfsplus
