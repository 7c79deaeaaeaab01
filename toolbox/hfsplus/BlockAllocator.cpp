#include "hfsplus/BlockAllocator.h"

#include "bytes/FormatError.h"

#include <algorithm>

namespace hfsplus {

namespace {

/// A bitmap of every other block would take a thousand times its size in memory.
constexpr std::size_t mostFreeRuns = std::size_t{1} << 22;

} // namespace

BlockAllocator::BlockAllocator(std::vector<std::byte> bitmap, uint32_t totalBlocks, uint32_t cursor,
    std::span<const BlockRun> frame)
    : m_bitmap(std::move(bitmap))
    , m_frame(frame.begin(), frame.end())
    , m_cursor(cursor)
{
    for (const BlockRun& run : frame)
        mark(run, true);
    findFreeRuns(totalBlocks);
}

bool BlockAllocator::isUsed(uint32_t block) const
{
    return (m_bitmap[block / 8] & std::byte{0x80} >> block % 8) != std::byte{0};
}

void BlockAllocator::findFreeRuns(uint32_t totalBlocks)
{
    uint32_t start = 0;
    const auto close = [&](uint32_t end) {
        if (end > start) {
            if (m_free.size() == mostFreeRuns)
                throw bytes::FormatError("the volume's free room is in too many pieces");
            m_free.emplace_hint(m_free.end(), start, end - start);
            m_freeBlocks += end - start;
        }
    };
    for (uint32_t block = 0; block < totalBlocks; ++block) {
        if (!isUsed(block))
            continue;
        close(block);
        start = block + 1;
    }
    close(totalBlocks);
}

std::vector<BlockRun> BlockAllocator::allocate(uint32_t count)
{
    std::vector<BlockRun> runs;
    m_allocated += count;
    if (count == 0)
        return runs;
    if (count > m_freeBlocks)
        throw NoSpaceCondition{m_allocated, m_freeBlocks + (m_allocated - count)};
    if (const auto run = runWith(count); run != m_free.end()) {
        runs.push_back(take(m_free, run, count));
        m_cursor = runs.front().end();
        return runs;
    }
    uint32_t missing = count;
    gather(m_free, missing, runs);
    gather(m_released, missing, runs);
    return runs;
}

/// The first long enough run behind the cursor, else the first of all.
BlockAllocator::Runs::iterator BlockAllocator::runWith(uint32_t count)
{
    const auto fits = [count](const auto& run) { return run.second >= count; };
    const auto behind = std::find_if(m_free.lower_bound(m_cursor), m_free.end(), fits);
    return behind != m_free.end() ? behind : std::find_if(m_free.begin(), m_free.end(), fits);
}

BlockRun BlockAllocator::take(Runs& from, Runs::iterator run, uint32_t count)
{
    const BlockRun taken{run->first, std::min(run->second, count)};
    const uint32_t left = run->second - taken.count;
    from.erase(run);
    if (left > 0)
        from.emplace(taken.end(), left);
    mark(taken, true);
    m_freeBlocks -= taken.count;
    return taken;
}

/// The longest runs first, so that a fork ends up in as few as possible.
void BlockAllocator::gather(Runs& from, uint32_t& missing, std::vector<BlockRun>& out)
{
    std::vector<BlockRun> runs;
    for (const auto& [start, count] : from)
        runs.push_back({start, count});
    std::ranges::stable_sort(runs, std::ranges::greater(), &BlockRun::count);
    for (const BlockRun& run : runs) {
        if (missing == 0)
            return;
        out.push_back(take(from, from.find(run.start), missing));
        missing -= out.back().count;
    }
}

void BlockAllocator::release(std::span<const BlockRun> runs)
{
    for (const BlockRun& run : runs) {
        requireReleasable(run);
        mark(run, false);
        m_released.emplace(run.start, run.count);
        m_freeBlocks += run.count;
    }
}

void BlockAllocator::requireReleasable(const BlockRun& run) const
{
    bool sound = std::ranges::none_of(m_frame,
        [&](const BlockRun& fixed) { return run.start < fixed.end() && fixed.start < run.end(); });
    for (uint32_t block = run.start; sound && block != run.end(); ++block)
        sound = isUsed(block);
    if (!sound)
        throw bytes::FormatError("the volume is damaged: block " + std::to_string(run.start)
            + " and those behind it have more than one user or none");
}

std::vector<BlockRun> BlockAllocator::released() const
{
    std::vector<BlockRun> runs;
    for (const auto& [start, count] : m_released)
        runs.push_back({start, count});
    return runs;
}

void BlockAllocator::mark(const BlockRun& run, bool used)
{
    for (uint32_t block = run.start; block != run.end(); ++block) {
        const std::byte bit = std::byte{0x80} >> block % 8;
        if (used)
            m_bitmap[block / 8] |= bit;
        else
            m_bitmap[block / 8] &= ~bit;
    }
}

} // namespace hfsplus
