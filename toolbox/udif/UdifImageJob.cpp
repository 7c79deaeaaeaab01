#include "udif/UdifImageJob.h"

#include "bytes/Crc32.h"
#include "bytes/File.h"
#include "bytes/OrderedPipeline.h"
#include "bytes/Zeros.h"
#include "udif/ChunkCodec.h"
#include "udif/DiskImage.h"
#include "udif/Guid.h"
#include "udif/Verification.h"
#include "udif/ZeroCrc.h"

#include <algorithm>
#include <system_error>

namespace udif {

namespace {

/// What a decoder is told to have room for: a chunk and a little more, as a Mac says it.
constexpr uint32_t decoderSectors = ChunkPlan::chunkSectors + 8;

} // namespace

struct UdifImageJob::EncodedChunk {
    ChunkType type = ChunkType::zeros;
    std::vector<std::byte> stored{};
    uint32_t crc = 0; // of the content
    uint32_t storedCrc = 0;
};

/// Reads and compresses chunks; each thread has one.
class UdifImageJob::Encoder {
public:
    explicit Encoder(const UdifImageJob& job)
        : m_source(job.m_source)
        , m_plan(job.m_plan)
        , m_type(factsOf(job.m_options.format).chunkType)
    {
        if (const ChunkCodec* codec = codecFor(m_type))
            m_encoder = codec->makeEncoder(job.m_options.level.value_or(codec->defaultLevel));
    }

    EncodedChunk encode(const ChunkPlan::Item& item)
    {
        const uint64_t offset = item.firstSector * sectorBytes;
        const uint64_t length = item.sectorCount * sectorBytes;
        if (m_source.knownZero(offset, length))
            return zeros(item);
        auto content = m_source.disk().read(offset, length);
        if (bytes::isZero(content))
            return zeros(item);

        EncodedChunk chunk{.type = m_type, .crc = bytes::crc32(content)};
        if (m_encoder)
            chunk.stored = m_encoder->encode(content);
        if (chunk.stored.empty()) {
            chunk.type = ChunkType::raw;
            chunk.stored = std::move(content);
            chunk.storedCrc = chunk.crc;
        } else {
            chunk.storedCrc = bytes::crc32(chunk.stored);
        }
        return chunk;
    }

private:
    EncodedChunk zeros(const ChunkPlan::Item& item)
    {
        if (m_plan.regions[item.region].isFree)
            return {.type = ChunkType::ignored};
        return {.type = ChunkType::zeros, .crc = m_zeros.of(item.sectorCount * sectorBytes)};
    }

    const DiskImage& m_source;
    const ChunkPlan& m_plan;
    ChunkType m_type;
    std::unique_ptr<ChunkEncoder> m_encoder;
    ZeroCrc m_zeros;
};

UdifImageJob::UdifImageJob(const DiskImage& source, const ConvertOptions& options)
    : m_source(source)
    , m_options(options)
    , m_plan(ChunkPlan::of(source))
    , m_crcs(m_plan.regions.size())
{
    for (const DiskRegion& region : m_plan.regions)
        m_image.tables.push_back({.id = region.id,
            .name = region.tableName(),
            .firstSector = region.firstSector,
            .sectorCount = region.sectorCount,
            .descriptor = region.descriptor});
}

ConvertReport UdifImageJob::write(bytes::File& out)
{
    writeDataFork(out);
    finish(out);
    readBack(out);
    return report(out.size());
}

void UdifImageJob::writeDataFork(bytes::File& out)
{
    uint64_t sectorsDone = 0;
    bytes::OrderedPipeline(m_options.threads)
        .run(
            m_plan.items.size(),
            [this] {
                return [this, encoder = Encoder(*this)](
                           uint64_t job) mutable { return encoder.encode(m_plan.items[job]); };
            },
            [&](uint64_t job, const EncodedChunk& chunk) {
                heedStop(m_options);
                const ChunkPlan::Item& item = m_plan.items[job];
                const std::string& table = m_image.tables[item.region].name;
                if (m_options.tableBegins && m_plan.opensRegion(item))
                    m_options.tableBegins(table);
                append(out, item, chunk);
                sectorsDone += item.sectorCount;
                if (m_options.progress)
                    m_options.progress(sectorsDone, m_plan.sectorCount);
                if (m_options.tableDone && m_plan.closesRegion(item))
                    m_options.tableDone(table, m_crcs[item.region]);
            });
}

void UdifImageJob::append(bytes::File& out, const ChunkPlan::Item& item, const EncodedChunk& chunk)
{
    BlockTable& table = m_image.tables[item.region];
    out.writeAt(m_dataForkLength, chunk.stored);
    table.chunks.push_back({.type = chunk.type,
        .firstSector = item.firstSector - table.firstSector,
        .sectorCount = item.sectorCount,
        .offset = m_dataForkLength,
        .length = chunk.stored.size()});
    m_dataForkCrc = bytes::crc32Joined(m_dataForkCrc, chunk.storedCrc, chunk.stored.size());
    m_dataForkLength += chunk.stored.size();

    uint32_t& crc = m_crcs[item.region];
    if (chunk.type != ChunkType::ignored)
        crc = bytes::crc32Joined(crc, chunk.crc, item.sectorCount * sectorBytes);
    if (codecFor(chunk.type))
        table.buffersNeeded = decoderSectors;
    if (table.chunks.back().isStored())
        m_storedSectors += item.sectorCount;
}

void UdifImageJob::finish(bytes::File& out)
{
    for (std::size_t i = 0; i < m_crcs.size(); ++i)
        m_image.tables[i].checksum = StoredChecksum::ofCrc(m_crcs[i]);

    KolyTrailer& trailer = m_image.trailer;
    const bool bare = m_source.partitions().scheme == PartitionScheme::bare;
    trailer.variant = static_cast<uint32_t>(bare ? ImageVariant::partition : ImageVariant::device);
    trailer.sectorCount = m_plan.sectorCount;
    trailer.dataForkChecksum = StoredChecksum::ofCrc(m_dataForkCrc);
    const uint64_t content = uint64_t{masterChecksumOf(m_image.tables)} << 32 | m_dataForkCrc;
    trailer.segmentID = m_options.segmentID.value_or(Guid::derived(content).stored);
    out.writeAt(m_dataForkLength, writeUdifTail(m_image, m_dataForkLength));
}

/// The checksums in the file were computed from what was read, so that they also tell of a
/// compressor's mistake. Those of the libraries are of long standing, and decoding again takes a
/// tenth to a third of the time that encoding does: there only what the disk has kept is checked.
/// What this system's own encoder makes is decoded.
bool UdifImageJob::readsBack(const bytes::File& out, const Udif& written) const
{
    if (m_options.format == ImageFormat::ULFO)
        return verifyUdif(out, written, {.threads = m_options.threads}).valid();
    return dataForkCrc(out, written, m_options.threads) == m_dataForkCrc;
}

void UdifImageJob::readBack(const bytes::File& out) const
{
    const Udif written = readUdif(out);
    if (written != m_image || !readsBack(out, written))
        throw std::system_error(
            EIO, std::generic_category(), out.path().string() + " doesn't read back");
    heedStop(m_options);
}

ConvertReport UdifImageJob::report(uint64_t fileBytes) const
{
    ConvertReport report{.masterChecksum = m_image.trailer.masterChecksum.value,
        .fileBytes = fileBytes,
        .sectors = m_plan.sectorCount,
        .storedSectors = m_storedSectors};
    for (std::size_t i = 0; i < m_crcs.size(); ++i)
        report.tables.push_back({m_image.tables[i].name, m_crcs[i]});
    return report;
}

} // namespace udif
