#include "udif/RawImageJob.h"

#include "bytes/Crc32.h"
#include "bytes/File.h"
#include "bytes/OrderedPipeline.h"
#include "bytes/Zeros.h"
#include "udif/DiskImage.h"
#include "udif/ZeroCrc.h"

#include <algorithm>
#include <system_error>

namespace udif {

namespace {

/// Zeros of this length become a hole: less isn't worth a write of its own.
constexpr std::size_t holeBytes = std::size_t{64} << 10;

} // namespace

struct RawImageJob::Content {
    std::vector<std::byte> raw; // empty where all is zero
    uint32_t crc = 0;
};

class RawImageJob::Reader {
public:
    Content read(const DiskImage& source, const ChunkPlan::Item& item)
    {
        const uint64_t offset = item.firstSector * sectorBytes;
        const uint64_t length = item.sectorCount * sectorBytes;
        if (source.knownZero(offset, length))
            return {{}, m_zeros.of(length)};
        auto raw = source.disk().read(offset, length);
        const uint32_t crc = bytes::crc32(raw);
        if (bytes::isZero(raw))
            raw.clear();
        return {std::move(raw), crc};
    }

private:
    ZeroCrc m_zeros;
};

RawImageJob::RawImageJob(const DiskImage& source, const ConvertOptions& options)
    : m_source(source)
    , m_options(options)
    , m_plan(ChunkPlan::of(source))
{ }

ConvertReport RawImageJob::write(bytes::File& out)
{
    out.resize(m_plan.sectorCount * sectorBytes);
    uint64_t sectorsDone = 0;
    bytes::OrderedPipeline(m_options.threads)
        .run(
            m_plan.items.size(),
            [this] {
                return [this, reader = Reader()](uint64_t job) mutable {
                    return reader.read(m_source, m_plan.items[job]);
                };
            },
            [&](uint64_t job, const Content& content) {
                heedStop(m_options);
                const ChunkPlan::Item& item = m_plan.items[job];
                const std::string table = m_plan.regions[item.region].tableName();
                if (m_options.tableBegins && m_plan.opensRegion(item))
                    m_options.tableBegins(table);
                append(out, item, content);
                sectorsDone += item.sectorCount;
                if (m_options.progress)
                    m_options.progress(sectorsDone, m_plan.sectorCount);
                if (m_options.tableDone && m_plan.closesRegion(item))
                    m_options.tableDone(table, std::nullopt);
            });
    if (checksumOf(out) != m_crc)
        throw std::system_error(
            EIO, std::generic_category(), out.path().string() + " doesn't read back");
    return {
        .fileBytes = out.size(), .sectors = m_plan.sectorCount, .storedSectors = m_storedSectors};
}

void RawImageJob::append(bytes::File& out, const ChunkPlan::Item& item, const Content& content)
{
    m_crc = bytes::crc32Joined(m_crc, content.crc, item.sectorCount * sectorBytes);
    if (!content.raw.empty())
        m_storedSectors += item.sectorCount;
    const std::span<const std::byte> raw(content.raw);
    for (std::size_t at = 0; at < raw.size(); at += holeBytes) {
        const auto part = raw.subspan(at, std::min(holeBytes, raw.size() - at));
        if (!bytes::isZero(part))
            out.writeAt(item.firstSector * sectorBytes + at, part);
    }
}

uint32_t RawImageJob::checksumOf(const bytes::File& out) const
{
    uint32_t crc = 0;
    bytes::OrderedPipeline(m_options.threads)
        .run(
            m_plan.items.size(),
            [&] {
                return [&](uint64_t job) {
                    const ChunkPlan::Item& item = m_plan.items[job];
                    return bytes::crc32(
                        out.read(item.firstSector * sectorBytes, item.sectorCount * sectorBytes));
                };
            },
            [&](uint64_t job, uint32_t part) {
                heedStop(m_options);
                crc = bytes::crc32Joined(crc, part, m_plan.items[job].sectorCount * sectorBytes);
            });
    return crc;
}

} // namespace udif
