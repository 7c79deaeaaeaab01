#include "hfsplus/ForkStore.h"

#include "hfsplus/TreeKeys.h"

#include <fcntl.h>

namespace hfsplus {

namespace {

constexpr std::size_t bufferBytes = 1 << 20;
constexpr std::size_t extentsInRecord = std::tuple_size_v<ExtentRecord>;

/// Up to eight of `runs` from `first` on.
ExtentRecord extentRecord(const std::vector<BlockRun>& runs, std::size_t first)
{
    ExtentRecord record{};
    for (std::size_t i = 0; i < record.size() && first + i < runs.size(); ++i) {
        record[i].startBlock = runs[first + i].start;
        record[i].blockCount = runs[first + i].count;
    }
    return record;
}

} // namespace

bytes::File openHostFile(const HostFolder& host, const std::string& path)
{
    const HostFolder folder = host.descend(folderOf(path));
    const std::string name(nameOf(path));
    const int descriptor =
        ::openat(folder.descriptor(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        bytes::throwErrno(path);
    return {descriptor, path};
}

ForkStore::ForkStore(
    uint32_t blockSize, BlockAllocator allocator, const bytes::ByteSource& extentsFile)
    : m_blockSize(blockSize)
    , m_allocator(std::move(allocator))
    , m_overflow(extentsFile, "extents", extentsShape, extentKeyLess)
{ }

uint32_t ForkStore::blocksFor(uint64_t size) const
{
    // More blocks than a volume can have are more than are free.
    return static_cast<uint32_t>(
        std::min<uint64_t>(size / m_blockSize + (size % m_blockSize != 0 ? 1 : 0), UINT32_MAX));
}

std::vector<BlockRun> ForkStore::place(ForkContent content)
{
    auto runs = m_allocator.allocate(blocksFor(content.size));
    if (!runs.empty())
        m_placed.push_back({std::move(content), runs});
    return runs;
}

ForkData ForkStore::store(CatalogID file, uint8_t forkType, ForkContent content)
{
    const uint64_t size = content.size;
    return describe(file, forkType, size, 0, place(std::move(content)));
}

ForkData ForkStore::describe(CatalogID file, uint8_t forkType, uint64_t size, uint32_t clumpSize,
    const std::vector<BlockRun>& runs)
{
    ForkData fork{};
    fork.logicalSize = size;
    fork.clumpSize = clumpSize;
    fork.totalBlocks = static_cast<uint32_t>(blocksIn(runs));
    fork.extents = extentRecord(runs, 0);
    forgetOverflow(file, forkType);
    uint32_t before = 0;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        if (i >= extentsInRecord && i % extentsInRecord == 0) {
            const ExtentRecord record = extentRecord(runs, i);
            const auto raw = bytes::recordBytes(record);
            m_overflow.add(extentKey(file, forkType, before), {raw.begin(), raw.end()});
        }
        before += runs[i].count;
    }
    return fork;
}

void ForkStore::drop(CatalogID file, uint8_t forkType, const std::vector<BlockRun>& runs)
{
    m_allocator.release(runs);
    forgetOverflow(file, forkType);
}

void ForkStore::forgetOverflow(CatalogID file, uint8_t forkType)
{
    const auto& records = m_overflow.records();
    for (std::size_t at = m_overflow.lowerBound(extentKey(file, forkType, 0)); at < records.size();
         ++at) {
        const auto key = bytes::recordAt<ExtentKey>(records[at].key);
        if (key.fileID != file || key.forkType != forkType)
            return;
        m_overflow.remove(at);
    }
}

void ForkStore::write(bytes::ByteDevice& volume, const HostFolder& host) const
{
    std::size_t done = 0;
    try {
        for (; done < m_placed.size(); ++done)
            writeOne(volume, host, m_placed[done]);
    } catch (...) {
        for (std::size_t i = 0; i <= done; ++i)
            for (const BlockRun& run : m_placed[i].runs)
                zero(volume, run);
        throw;
    }
}

void ForkStore::writeOne(
    bytes::ByteDevice& volume, const HostFolder& host, const Placed& placed) const
{
    const ForkContent& content = placed.content;
    const bytes::MemoryDevice memory(content.bytes);
    std::optional<bytes::File> file;
    if (!content.hostPath.empty())
        file.emplace(openHostFile(host, content.hostPath));
    const bytes::ByteSource& source = file ? static_cast<const bytes::ByteSource&>(*file) : memory;

    const uint64_t room = blocksIn(placed.runs) * m_blockSize;
    const ForkReader target(volume, m_blockSize, placed.runs, room);
    std::vector<std::byte> buffer(static_cast<std::size_t>(std::min<uint64_t>(room, bufferBytes)));
    for (uint64_t at = 0; at < room; at += buffer.size()) {
        const auto piece = std::span(buffer).first(
            static_cast<std::size_t>(std::min<uint64_t>(room - at, buffer.size())));
        const std::size_t data = at >= content.size
            ? 0
            : static_cast<std::size_t>(std::min<uint64_t>(content.size - at, piece.size()));
        source.readAt(at, piece.first(data));
        std::ranges::fill(piece.subspan(data), std::byte{0});
        target.eachPiece(at, piece.size(), [&](uint64_t from, uint64_t place, uint64_t length) {
            volume.writeAt(place,
                piece.subspan(
                    static_cast<std::size_t>(from - at), static_cast<std::size_t>(length)));
        });
    }
}

void ForkStore::zero(bytes::ByteDevice& volume, const BlockRun& run) const
{
    const uint64_t length = uint64_t{run.count} * m_blockSize;
    const std::vector<std::byte> zeros(
        static_cast<std::size_t>(std::min<uint64_t>(length, bufferBytes)));
    for (uint64_t at = 0; at < length; at += zeros.size())
        volume.writeAt(uint64_t{run.start} * m_blockSize + at,
            std::span(zeros).first(
                static_cast<std::size_t>(std::min<uint64_t>(length - at, zeros.size()))));
}

uint64_t ForkStore::zeroReleased(bytes::ByteDevice& volume) const
{
    uint64_t written = 0;
    for (const BlockRun& run : m_allocator.released()) {
        zero(volume, run);
        written += uint64_t{run.count} * m_blockSize;
    }
    return written;
}

uint64_t ForkStore::placedBytes() const
{
    uint64_t total = 0;
    for (const Placed& placed : m_placed)
        total += blocksIn(placed.runs) * m_blockSize;
    return total;
}

} // namespace hfsplus
