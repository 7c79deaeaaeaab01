#pragma once

#include "finder/StoreReader.h"

namespace finder {

/// One node of the tree to be written: which records it holds and which nodes hang below it.
/// A node with children has one more of them than records.
struct NodePlan {
    std::vector<std::size_t> records; // indices, in order
    std::vector<std::size_t> children; // indices of other plans

    friend bool operator==(const NodePlan&, const NodePlan&) = default;
};

/// Where everything of a new `.DS_Store` goes; nothing here touches a record's bytes.
struct StoreLayout {
    std::vector<NodePlan> nodes; // leaves first, the root node last
    uint32_t levelsAboveLeaves = 0;
    /// Block 0 is the root block, 1 the tree's header, the nodes follow.
    std::vector<BlockAddress> blocks;
    std::array<std::vector<uint32_t>, 32> freeLists;
    std::size_t fileSize = 0;

    static constexpr std::size_t firstNodeBlock = 2;
};

/// The largest record that fits beside a child pointer in a node of its own.
inline constexpr std::size_t largestRecord = 4084;

/// `recordSizes` are the records' encoded sizes in their order. Throws FormatError for one that is
/// too large and for more nodes than the address space holds.
StoreLayout layOutStore(std::span<const std::size_t> recordSizes);

/// What is left of the address space, in aligned powers of two: the file's free lists.
std::array<std::vector<uint32_t>, 32> freeBlocks(std::span<const BlockAddress> used);

} // namespace finder
