#include "hfsplus/BTreeBuilder.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <map>
#include <stdexcept>

using namespace hfsplus;

namespace {

using Nodes = std::map<uint32_t, std::vector<std::byte>>;

std::vector<std::byte> numberedKey(uint32_t number, uint16_t padding)
{
    bytes::ByteWriter key;
    key.u16(static_cast<uint16_t>(4 + padding));
    key.u32(number);
    key.zeros(padding);
    return key.take();
}

struct BuiltTree {
    Nodes nodes;
    TreeHeader header;
};

/// A tree of `count` records whose data is `dataSize` bytes each.
BuiltTree build(const TreeShape& shape, uint32_t count, std::size_t dataSize, uint32_t wanted = 0)
{
    BuiltTree built;
    BTreeBuilder tree(shape, [&](uint32_t number, std::span<const std::byte> node) {
        EXPECT_EQ(node.size(), shape.nodeSize);
        EXPECT_TRUE(built.nodes.try_emplace(number, node.begin(), node.end()).second) << number;
    });
    const std::vector<std::byte> data(dataSize, std::byte{7});
    for (uint32_t i = 0; i < count; ++i)
        tree.add(numberedKey(2 * i, static_cast<uint16_t>(2 * (i % 5))), data);
    built.header = tree.finish(wanted);
    return built;
}

NodeDescriptor descriptorOf(const std::vector<std::byte>& node)
{
    return bytes::recordAt<NodeDescriptor>(node);
}

std::span<const std::byte> recordOf(const std::vector<std::byte>& node, std::size_t index)
{
    const auto offset = [&](std::size_t i) -> std::size_t {
        return bytes::recordAt<be16>(std::span(node).subspan(node.size() - 2 * (i + 1)));
    };
    return std::span(node).subspan(offset(index), offset(index + 1) - offset(index));
}

uint32_t keyNumber(std::span<const std::byte> record)
{
    return bytes::recordAt<be32>(record.subspan(2));
}

/// Walks down and checks that each index key is its child's first; counts the leaves' records.
uint32_t walk(const BuiltTree& tree, uint32_t number, unsigned height, uint32_t firstKey)
{
    const auto& node = tree.nodes.at(number);
    const NodeDescriptor descriptor = descriptorOf(node);
    EXPECT_EQ(descriptor.height, height);
    EXPECT_EQ(keyNumber(recordOf(node, 0)), firstKey);
    EXPECT_EQ(descriptor.kind, height == 1 ? leafNode : indexNode);
    if (descriptor.kind == leafNode)
        return descriptor.numRecords;
    uint32_t records = 0;
    for (std::size_t i = 0; i < descriptor.numRecords; ++i) {
        const auto record = recordOf(node, i);
        const uint32_t child = bytes::recordAt<be32>(record.last(4));
        records += walk(tree, child, height - 1, keyNumber(record));
    }
    return records;
}

/// Follows the leaves' links in both directions; the last key must be `lastKey`.
void checkChain(const BuiltTree& tree, uint32_t lastKey)
{
    uint32_t before = 0;
    uint32_t key = 0;
    for (uint32_t number = tree.header.firstLeafNode; number != 0;) {
        const auto& node = tree.nodes.at(number);
        EXPECT_EQ(descriptorOf(node).bLink, before);
        for (std::size_t i = 0; i < descriptorOf(node).numRecords; ++i)
            key = keyNumber(recordOf(node, i));
        before = number;
        number = descriptorOf(node).fLink;
    }
    EXPECT_EQ(before, tree.header.lastLeafNode);
    EXPECT_EQ(key, lastKey);
}

uint32_t markedNodes(const BuiltTree& tree)
{
    uint32_t marked = 0;
    const auto count = [&marked](std::span<const std::byte> map) {
        for (const std::byte value : map)
            marked += static_cast<uint32_t>(std::popcount(static_cast<uint8_t>(value)));
    };
    count(recordOf(tree.nodes.at(0), 2));
    for (uint32_t map = descriptorOf(tree.nodes.at(0)).fLink; map != 0;) {
        EXPECT_EQ(descriptorOf(tree.nodes.at(map)).kind, mapNode);
        count(recordOf(tree.nodes.at(map), 0));
        map = descriptorOf(tree.nodes.at(map)).fLink;
    }
    return marked;
}

} // namespace

TEST(BTreeBuilder, TreesHoldTogether)
{
    const struct {
        const char* what;
        uint32_t nodeSize, records;
        std::size_t dataSize;
        uint32_t wantedNodes;
        unsigned fill;
        unsigned leastDepth;
    } rows[] = {
        {"one record", 4096, 1, 88, 0, 100, 1},
        {"two levels", 4096, 1000, 88, 0, 100, 2},
        {"three levels", 512, 3000, 60, 0, 100, 3},
        {"odd data is padded", 512, 500, 61, 0, 100, 3},
        {"nodes partly filled, with spare ones", 8192, 5000, 248, 400, 80, 2},
        {"more than the header's map holds", 512, 9000, 200, 0, 100, 4},
        {"free nodes beyond two map nodes", 512, 10, 200, 9000, 100, 2},
        {"records so large that two fill a node", 512, 40, 200, 0, 50, 3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const TreeShape shape{.nodeSize = row.nodeSize, .maxKeyLength = 60, .fill = row.fill};
        const BuiltTree tree = build(shape, row.records, row.dataSize, row.wantedNodes);
        EXPECT_GE(tree.header.treeDepth, row.leastDepth);
        EXPECT_EQ(tree.header.leafRecords, row.records);
        EXPECT_EQ(walk(tree, tree.header.rootNode, tree.header.treeDepth, 0), row.records);
        checkChain(tree, 2 * (row.records - 1));
        EXPECT_GE(tree.header.totalNodes, row.wantedNodes);
        EXPECT_EQ(tree.header.totalNodes - tree.header.freeNodes, tree.nodes.size());
        EXPECT_EQ(markedNodes(tree), tree.nodes.size());
        EXPECT_EQ(tree.nodes.rbegin()->first, tree.nodes.size() - 1);

        BTreeBuilder measured(shape);
        const std::vector<std::byte> data(row.dataSize);
        for (uint32_t i = 0; i < row.records; ++i)
            measured.add(numberedKey(2 * i, static_cast<uint16_t>(2 * (i % 5))), data);
        const TreeHeader header = measured.finish(row.wantedNodes);
        EXPECT_TRUE(
            std::ranges::equal(bytes::recordBytes(header), bytes::recordBytes(tree.header)));
    }
}

TEST(BTreeBuilder, AnEmptyTreeIsItsHeaderNode)
{
    const BuiltTree tree = build(extentsShape, 0, 0, 8);
    EXPECT_EQ(tree.nodes.size(), 1U);
    EXPECT_EQ(tree.header.treeDepth, 0);
    EXPECT_EQ(tree.header.rootNode, 0U);
    EXPECT_EQ(tree.header.firstLeafNode, 0U);
    EXPECT_EQ(tree.header.totalNodes, 8U);
    EXPECT_EQ(tree.header.freeNodes, 7U);
    EXPECT_EQ(recordOf(tree.nodes.at(0), 2)[0], std::byte{0x80});
}

TEST(BTreeBuilder, FillLeavesRoom)
{
    const TreeShape shape{.nodeSize = 4096, .maxKeyLength = 60, .fill = 80};
    const BuiltTree tree = build(shape, 2000, 100);
    for (uint32_t number = 1; number < tree.header.lastLeafNode; ++number) {
        const auto& node = tree.nodes.at(number);
        const std::size_t count = descriptorOf(node).numRecords;
        const uint16_t end =
            bytes::recordAt<be16>(std::span(node).subspan(node.size() - 2 * (count + 1)));
        EXPECT_LE(end, 4096U * 80 / 100) << number;
        EXPECT_GE(end, 4096U * 70 / 100) << number;
    }
}

TEST(BTreeBuilder, ARecordLargerThanANodeIsRefused)
{
    EXPECT_THROW(build({.nodeSize = 512, .maxKeyLength = 60}, 1, 490), std::length_error);
    EXPECT_NO_THROW(build({.nodeSize = 512, .maxKeyLength = 60}, 1, 488));
}
