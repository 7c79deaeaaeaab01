#include "udif/BlockTable.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"
#include "udif/PartitionMap.h"

#include <algorithm>

namespace udif {

namespace {

constexpr uint64_t entryLimit = uint64_t{16} << 20;

/// Checks how the chunk's bytes are stored. `storedRoom` is what the data fork has.
void checkStorage(const Chunk& chunk, uint64_t dataForkLength, const bytes::ByteReader& in)
{
    if (chunk.offset > dataForkLength || dataForkLength - chunk.offset < chunk.length)
        in.fail("a chunk of " + std::to_string(chunk.length) + " bytes leaves the data fork");
    if (chunk.type == ChunkType::raw) {
        if (chunk.length != chunk.sectorCount * sectorBytes)
            in.fail("a raw chunk has another length than its sectors");
        return;
    }
    if (chunk.sectorCount > decodedChunkLimit / sectorBytes)
        in.fail("a compressed chunk of " + std::to_string(chunk.sectorCount) + " sectors");
    // Nothing grows by compression as much as this; a longer one only costs memory.
    if (chunk.length == 0 || chunk.length > 2 * chunk.sectorCount * sectorBytes + 4096)
        in.fail("a compressed chunk of " + std::to_string(chunk.length) + " stored bytes");
}

void checkType(ChunkType type, const bytes::ByteReader& in)
{
    switch (type) {
    case ChunkType::zeros:
    case ChunkType::raw:
    case ChunkType::ignored:
    case ChunkType::comment:
    case ChunkType::adc:
    case ChunkType::zlib:
    case ChunkType::bzip2:
    case ChunkType::lzfse:
    case ChunkType::lzma:
    case ChunkType::terminator:
        return;
    }
    in.fail("unknown chunk type " + std::to_string(static_cast<uint32_t>(type)));
}

struct TableEnd {
    uint64_t sectorCount;
    uint64_t dataOffset;
    uint64_t dataForkLength;
};

/// One chunk that starts at sector `position` of its table.
Chunk chunkOf(const ChunkRecord& record, uint64_t position, const TableEnd& table,
    const bytes::ByteReader& in)
{
    Chunk chunk{.type = static_cast<ChunkType>(record.type.value()),
        .firstSector = record.firstSector,
        .sectorCount = record.sectorCount};
    if (chunk.firstSector != position)
        in.fail("a chunk starts at sector " + std::to_string(chunk.firstSector) + ", expected "
            + std::to_string(position));
    if (chunk.sectorCount > table.sectorCount - position)
        in.fail("a chunk leaves its table");
    if (!chunk.isStored()) {
        chunk.offset = record.offset;
        return chunk;
    }
    if (record.offset > table.dataForkLength - table.dataOffset)
        in.fail("a chunk starts behind the data fork");
    chunk.offset = table.dataOffset + record.offset;
    chunk.length = record.length;
    checkStorage(chunk, table.dataForkLength, in);
    return chunk;
}

std::vector<Chunk> readChunks(bytes::ByteReader& in, uint32_t count, const TableEnd& table)
{
    std::vector<Chunk> chunks;
    chunks.reserve(count);
    uint64_t position = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const auto record = in.record<ChunkRecord>();
        const auto type = static_cast<ChunkType>(record.type.value());
        checkType(type, in);
        if (type == ChunkType::terminator) {
            if (i + 1 != count)
                in.fail("entries behind the terminator");
            if (position != table.sectorCount)
                in.fail("the chunks cover " + std::to_string(position) + " sectors of "
                    + std::to_string(table.sectorCount));
            return chunks;
        }
        if (type == ChunkType::comment || record.sectorCount == 0)
            continue;
        chunks.push_back(chunkOf(record, position, table, in));
        position += chunks.back().sectorCount;
    }
    in.fail("no terminator");
}

} // namespace

BlockTable readBlockTable(std::span<const std::byte> raw, uint64_t dataForkLength)
{
    bytes::ByteReader in(raw);
    const auto header = in.record<BlockTableHeader>();
    if (header.signature != mishSignature || header.version != 1)
        in.fail("expected a block table of version 1");
    if (header.firstSector > sectorLimit || header.sectorCount > sectorLimit)
        in.fail("a block table beyond any disk");
    if (header.dataOffset > dataForkLength)
        in.fail("a block table's data starts behind the data fork");
    if (header.entryCount > entryLimit
        || in.remaining() != uint64_t{header.entryCount} * sizeof(ChunkRecord))
        in.fail("a block table of " + std::to_string(header.entryCount) + " entries has "
            + std::to_string(in.remaining()) + " bytes of them");

    BlockTable table{.firstSector = header.firstSector,
        .sectorCount = header.sectorCount,
        .buffersNeeded = header.buffersNeeded,
        .descriptor = header.descriptor,
        .checksum = header.checksum};
    table.chunks =
        readChunks(in, header.entryCount, {header.sectorCount, header.dataOffset, dataForkLength});
    return table;
}

std::vector<std::byte> writeBlockTable(const BlockTable& table)
{
    bytes::ByteWriter out;
    out.record(BlockTableHeader{.signature = mishSignature,
        .version = 1,
        .firstSector = table.firstSector,
        .sectorCount = table.sectorCount,
        .buffersNeeded = table.buffersNeeded,
        .descriptor = table.descriptor,
        .checksum = table.checksum,
        .entryCount = static_cast<uint32_t>(table.chunks.size() + 1)});
    for (const Chunk& chunk : table.chunks)
        out.record(ChunkRecord{.type = static_cast<uint32_t>(chunk.type),
            .firstSector = chunk.firstSector,
            .sectorCount = chunk.sectorCount,
            .offset = chunk.offset,
            .length = chunk.length});
    out.record(ChunkRecord{.type = static_cast<uint32_t>(ChunkType::terminator),
        .firstSector = table.sectorCount,
        .offset =
            table.chunks.empty() ? 0 : table.chunks.back().offset + table.chunks.back().length});
    return out.take();
}

} // namespace udif
