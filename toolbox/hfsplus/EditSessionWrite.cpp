#include "bytes/FormatError.h"
#include "hfsplus/EditSession.h"

#include <numeric>

namespace hfsplus {

namespace {

constexpr uint32_t largestClump = 65536;
constexpr std::size_t bitmapPiece = 4096;

} // namespace

/// Sees to it that a changed tree fits its fork.
void EditSession::growTree(TreeEdit& tree, CatalogID id, ForkData& fork)
{
    const uint32_t blockSize = m_header.blockSize;
    std::vector<BlockRun>& runs = m_treeRuns[id];
    runs = m_volume.metadataFork(id, fork).runs();
    const uint64_t has = uint64_t{fork.totalBlocks} * blockSize;
    const uint64_t needs = tree.isChanged() ? tree.neededBytes() : 0;
    if (needs <= fork.logicalSize)
        return;
    const uint64_t step = std::max(blockSize, tree.nodeSize());
    const auto missingFor = [&](uint64_t bytes) {
        const uint64_t whole = (bytes + step - 1) / step * step;
        return m_forks.blocksFor(whole > has ? whole - has : 0);
    };
    const uint32_t wished = missingFor(std::max(needs, tree.comfortableBytes(blockSize)));
    const bool roomy = wished <= m_forks.allocator().freeBlocks();
    const auto more = m_forks.allocator().allocate(roomy ? wished : missingFor(needs));
    runs.insert(runs.end(), more.begin(), more.end());
    if (id == extentsFileID && runs.size() > std::tuple_size_v<ExtentRecord>)
        throw BlockAllocator::NoSpaceCondition{
            blocksIn(more), m_forks.allocator().freeBlocks() + blocksIn(more)};
    const uint64_t quarter = uint64_t{m_header.totalBlocks / 4} * blockSize;
    const uint32_t clump = fork.clumpSize != 0                 ? fork.clumpSize.value()
        : largestClump <= quarter && largestClump >= blockSize ? largestClump
                                                               : blockSize;
    fork = m_forks.describe(id, dataForkType, blocksIn(runs) * blockSize, clump, runs);
}

void EditSession::finishHeader()
{
    m_header.freeBlocks = m_forks.allocator().freeBlocks();
    m_header.nextAllocation = m_forks.allocator().cursor() % m_header.totalBlocks;
    m_header.modifyDate = m_now;
    m_header.writeCount = m_header.writeCount + 1;
}

EditReport EditSession::write()
{
    const bool anything = m_catalog.tree().isChanged() || m_attributes.tree().isChanged();
    if (!anything)
        return m_report;
    finishHeader();
    // New data goes to blocks that nothing else used, so that the volume is still the old one
    // when a file of the host turns out to be unreadable.
    m_forks.write(m_device, m_host);
    m_report.bytesWritten += m_forks.placedBytes();

    writeTree(m_forks.overflow(), extentsFileID, m_header.extentsFile);
    writeTree(m_attributes.tree(), attributesFileID, m_header.attributesFile);
    writeTree(m_catalog.tree(), catalogFileID, m_header.catalogFile);
    writeBitmap();
    writeAt(volumeHeaderOffset, bytes::recordBytes(m_header));
    writeAt(m_device.size() - alternateHeaderDistance, bytes::recordBytes(m_header));
    m_report.bytesWritten += m_forks.zeroReleased(m_device);
    return m_report;
}

void EditSession::writeTree(const TreeEdit& tree, CatalogID id, const ForkData& fork)
{
    if (!tree.isChanged())
        return;
    const ForkReader target(m_device, m_header.blockSize, m_treeRuns.at(id), fork.logicalSize);
    tree.write(fork.logicalSize, [&](uint64_t offset, std::span<const std::byte> raw) {
        target.eachPiece(offset, raw.size(), [&](uint64_t at, uint64_t place, uint64_t length) {
            writeAt(place,
                raw.subspan(
                    static_cast<std::size_t>(at - offset), static_cast<std::size_t>(length)));
        });
    });
}

void EditSession::writeBitmap()
{
    const ForkReader target = m_volume.metadataFork(allocationFileID, m_header.allocationFile);
    const std::span<const std::byte> before = m_oldBitmap, now = m_forks.allocator().bitmap();
    for (std::size_t at = 0; at < now.size(); at += bitmapPiece) {
        const std::size_t length = std::min(bitmapPiece, now.size() - at);
        const auto piece = now.subspan(at, length);
        if (std::ranges::equal(piece, before.subspan(at, length)))
            continue;
        target.eachPiece(at, length, [&](uint64_t from, uint64_t place, uint64_t count) {
            writeAt(place,
                piece.subspan(
                    static_cast<std::size_t>(from - at), static_cast<std::size_t>(count)));
        });
    }
}

void EditSession::writeAt(uint64_t offset, std::span<const std::byte> raw)
{
    m_device.writeAt(offset, raw);
    m_report.bytesWritten += raw.size();
}

} // namespace hfsplus
