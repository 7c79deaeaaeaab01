#include "finder/StoreLayout.h"

#include "bytes/FormatError.h"
#include "finder/StoreRecords.h"

#include <algorithm>
#include <bit>

namespace finder {

namespace {

constexpr std::size_t nodeHead = 8;
constexpr std::size_t childPointer = 4;
constexpr BlockAddress fileHeader{0, storeFormat::smallestWidth};
constexpr BlockAddress treeHeader{0x20, storeFormat::smallestWidth};
constexpr BlockAddress usualRootBlock{0x800, 11};

/// Splits one level into nodes; the records between two nodes go to the level above.
class LevelPacker {
public:
    LevelPacker(std::span<const std::size_t> sizes, std::size_t extra)
        : m_sizes(sizes)
        , m_extra(extra)
    { }

    void pack(std::span<const std::size_t> records)
    {
        for (const std::size_t record : records)
            add(record);
        // A separator needs a node behind it: it moves there itself, and the record before it
        // takes its place above.
        if (m_open.empty() && !separators.empty()) {
            m_open.push_back(separators.back());
            separators.back() = nodes.back().back();
            nodes.back().pop_back();
        }
        nodes.push_back(std::move(m_open));
    }

    std::vector<std::vector<std::size_t>> nodes;
    std::vector<std::size_t> separators;

private:
    void add(std::size_t record)
    {
        const std::size_t size = m_sizes[record] + m_extra;
        if (storeFormat::pageSize - m_used >= size) {
            m_used += size;
            m_open.push_back(record);
            return;
        }
        nodes.push_back(std::exchange(m_open, {}));
        separators.push_back(record);
        m_used = nodeHead;
    }

    std::span<const std::size_t> m_sizes;
    std::size_t m_extra;
    std::size_t m_used = nodeHead;
    std::vector<std::size_t> m_open;
};

void packNodes(StoreLayout& layout, std::span<const std::size_t> sizes)
{
    std::vector<std::size_t> records(sizes.size());
    for (std::size_t i = 0; i < records.size(); ++i)
        records[i] = i;
    std::size_t nextChild = 0; // children are taken in the order in which their level was made
    for (bool leaves = true;; leaves = false) {
        LevelPacker level(sizes, leaves ? 0 : childPointer);
        level.pack(records);
        for (auto& node : level.nodes) {
            NodePlan plan{std::move(node), {}};
            if (!leaves)
                for (std::size_t i = 0; i <= plan.records.size(); ++i)
                    plan.children.push_back(nextChild++);
            layout.nodes.push_back(std::move(plan));
        }
        if (level.nodes.size() == 1)
            return;
        records = std::move(level.separators);
        ++layout.levelsAboveLeaves;
    }
}

/// The bytes of bookkeeping for so many blocks; each free list has an entry or two.
std::size_t rootBlockSize(std::size_t blockCount)
{
    constexpr auto step = storeFormat::addressesPerStep;
    return 8 + (blockCount + step - 1) / step * step * 4 + 4 + 9 + 32 * (4 + 2 * 4);
}

BlockAddress rootBlockFor(std::size_t nodeCount)
{
    const std::size_t needed = rootBlockSize(nodeCount + StoreLayout::firstNodeBlock);
    if (needed <= usualRootBlock.size())
        return usualRootBlock;
    const std::size_t size = std::bit_ceil(needed);
    const std::size_t nodesEnd = (nodeCount + 1) * storeFormat::pageSize;
    return {static_cast<uint32_t>((nodesEnd + size - 1) / size * size),
        static_cast<unsigned>(std::countr_zero(size))};
}

void placeBlocks(StoreLayout& layout)
{
    constexpr std::size_t mostNodes = std::size_t{1} << 18; // half of the address space
    if (layout.nodes.size() > mostNodes)
        throw bytes::FormatError("too many records for one .DS_Store");
    layout.blocks = {rootBlockFor(layout.nodes.size()), treeHeader};
    for (std::size_t i = 0; i < layout.nodes.size(); ++i)
        layout.blocks.push_back(
            {static_cast<uint32_t>((i + 1) * storeFormat::pageSize), storeFormat::pageWidth});
    for (const BlockAddress& block : layout.blocks)
        layout.fileSize = std::max(
            layout.fileSize, storeFormat::prefixSize + block.offset + std::size_t{block.size()});
}

/// Halves the space until a piece is wholly free or exactly one block.
class FreeSpace {
public:
    explicit FreeSpace(std::span<const BlockAddress> used)
        : m_used(used.begin(), used.end())
    {
        std::ranges::sort(m_used, {}, &BlockAddress::offset);
    }

    void collect(uint32_t offset, unsigned width)
    {
        const uint64_t end = uint64_t{offset} + (uint64_t{1} << width);
        const auto next = std::ranges::lower_bound(m_used, offset, {}, &BlockAddress::offset);
        if (next == m_used.end() || next->offset >= end) {
            lists[width].push_back(offset);
            return;
        }
        if (*next == BlockAddress{offset, width} || width == storeFormat::smallestWidth)
            return;
        collect(offset, width - 1);
        collect(offset + (uint32_t{1} << (width - 1)), width - 1);
    }

    std::array<std::vector<uint32_t>, 32> lists;

private:
    std::vector<BlockAddress> m_used;
};

} // namespace

std::array<std::vector<uint32_t>, 32> freeBlocks(std::span<const BlockAddress> used)
{
    FreeSpace space(used);
    space.collect(0, storeFormat::spaceWidth);
    return std::move(space.lists);
}

StoreLayout layOutStore(std::span<const std::size_t> recordSizes)
{
    if (std::ranges::any_of(recordSizes, [](std::size_t size) { return size > largestRecord; }))
        throw bytes::FormatError("a record is too large for a .DS_Store");
    StoreLayout layout;
    packNodes(layout, recordSizes);
    placeBlocks(layout);
    std::vector<BlockAddress> used = layout.blocks;
    used.push_back(fileHeader);
    layout.freeLists = freeBlocks(used);
    return layout;
}

} // namespace finder
