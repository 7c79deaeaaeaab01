#include "hfsplus/VolumeLayout.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace hfsplus {

namespace {

/// Below it, the usual clump would be too large a part of the volume.
constexpr uint64_t smallestVolume = uint64_t{1} << 20;
constexpr uint32_t usualClump = 65536;
constexpr uint64_t headBytes = volumeHeaderOffset + sizeof(VolumeHeader);

constexpr uint64_t blocksOf(uint64_t size, uint32_t blockSize)
{
    return size / blockSize + (size % blockSize != 0 ? 1 : 0);
}

uint64_t bitmapBlocks(uint64_t totalBlocks, uint32_t blockSize)
{
    return blocksOf(blocksOf(totalBlocks, 8), blockSize);
}

/// The size of a volume whose blocks but the bitmap's are `others`.
uint64_t withBitmap(uint64_t others, uint32_t blockSize)
{
    uint64_t bitmap = 1;
    while (bitmapBlocks(others + bitmap, blockSize) > bitmap)
        bitmap = bitmapBlocks(others + bitmap, blockSize);
    return others + bitmap;
}

[[noreturn]] void refuse(int error)
{
    throw std::system_error(error, std::generic_category(), "volume");
}

} // namespace

VolumeLayout VolumeLayout::forNeeds(const VolumeNeeds& needs)
{
    VolumeLayout layout;
    const uint32_t blockSize = layout.blockSize = needs.blockSize;
    const uint64_t head = blocksOf(headBytes, blockSize);
    const uint64_t trees = blocksOf(needs.extentsTree, blockSize)
        + blocksOf(needs.attributesTree, blockSize) + blocksOf(needs.catalogTree, blockSize);
    const uint64_t others =
        head + trees + needs.contentBlocks + blocksOf(needs.slack, blockSize) + layout.tailBlocks();
    const uint64_t least =
        std::max(withBitmap(others, blockSize), blocksOf(smallestVolume, blockSize));
    const uint64_t total = needs.wantedSize == 0 ? least : needs.wantedSize / blockSize;
    if (total > UINT32_MAX)
        refuse(EFBIG);
    if (total < least)
        refuse(ENOSPC);

    auto next = static_cast<uint32_t>(head);
    const auto take = [&next](uint64_t count) {
        const BlockRun run{next, static_cast<uint32_t>(count)};
        next = run.end();
        return run;
    };
    layout.totalBlocks = static_cast<uint32_t>(total);
    layout.bitmap = take(bitmapBlocks(total, blockSize));
    layout.extentsTree = take(blocksOf(needs.extentsTree, blockSize));
    layout.attributesTree = take(blocksOf(needs.attributesTree, blockSize));
    layout.catalogTree = take(blocksOf(needs.catalogTree, blockSize));
    layout.content = take(needs.contentBlocks);
    layout.freeBlocks = layout.totalBlocks - layout.tailBlocks() - next;
    return layout;
}

uint32_t VolumeLayout::tailBlocks() const
{
    return static_cast<uint32_t>(blocksOf(alternateHeaderDistance, blockSize));
}

uint32_t VolumeLayout::clumpSize() const
{
    const uint32_t clump = std::max(usualClump, blockSize);
    return clump <= uint64_t{totalBlocks / 4} * blockSize ? clump : blockSize;
}

ForkData VolumeLayout::fork(uint64_t size, uint32_t firstBlock) const
{
    ForkData fork{};
    if (size == 0)
        return fork;
    fork.logicalSize = size;
    fork.totalBlocks = static_cast<uint32_t>(blocksOf(size, blockSize));
    fork.extents[0] = {firstBlock, fork.totalBlocks};
    return fork;
}

ForkData VolumeLayout::specialFile(const BlockRun& run) const
{
    ForkData result = fork(uint64_t{run.count} * blockSize, run.start);
    if (run.count != 0)
        result.clumpSize = clumpSize();
    return result;
}

} // namespace hfsplus
