#include "udif/Udif.h"

#include "bytes/ByteDevice.h"
#include "bytes/ByteWriter.h"
#include "bytes/Crc32.h"
#include "bytes/FormatError.h"
#include "udif/PartitionMap.h"
#include "udif/UdifPropertyList.h"

#include <algorithm>

namespace udif {

namespace {

constexpr uint32_t trailerVersion = 4;
constexpr uint32_t flattened = 1;

KolyTrailer trailerOf(const bytes::ByteSource& file)
{
    return bytes::recordAt<KolyTrailer>(
        file.read(file.size() - sizeof(KolyTrailer), sizeof(KolyTrailer)));
}

void checkTrailer(const KolyTrailer& trailer, uint64_t fileSize)
{
    const uint64_t room = fileSize - sizeof(KolyTrailer);
    const auto check = [&](uint64_t offset, uint64_t length, const char* what) {
        if (offset > room || room - offset < length)
            throw bytes::FormatError(std::string(what) + " leaves the file", room);
    };
    check(trailer.dataForkOffset, trailer.dataForkLength, "the data fork");
    check(trailer.xmlOffset, trailer.xmlLength, "the property list");
    check(trailer.signatureOffset, trailer.signatureLength, "the code signature");
    if (trailer.segmentCount > 1)
        throw bytes::FormatError("the image is one of several segments", room);
    if (trailer.xmlLength > propertyListLimit)
        throw bytes::FormatError("the property list is too long", room);
    if (trailer.sectorCount > sectorLimit)
        throw bytes::FormatError("the trailer's sector count is beyond any disk", room);
}

/// Tables may come in any order, but no sector belongs to two of them.
void checkTables(const std::vector<BlockTable>& tables, uint64_t sectorCount)
{
    std::vector<const BlockTable*> sorted;
    for (const BlockTable& table : tables)
        sorted.push_back(&table);
    std::ranges::sort(sorted, {}, &BlockTable::firstSector);
    uint64_t position = 0;
    for (const BlockTable* table : sorted) {
        if (table->firstSector < position)
            throw bytes::FormatError(
                "two block tables overlap at sector " + std::to_string(table->firstSector));
        if (table->firstSector > sectorCount
            || sectorCount - table->firstSector < table->sectorCount)
            throw bytes::FormatError("a block table leaves the disk");
        position = table->firstSector + table->sectorCount;
    }
}

/// Chunks have bytes of their own. Some sharing is let pass; but an image in which thousands of
/// chunks name the same megabytes would take days to read.
void checkSharing(const std::vector<BlockTable>& tables, uint64_t dataForkLength)
{
    constexpr uint64_t mostUses = 4;
    uint64_t left = dataForkLength * mostUses;
    for (const BlockTable& table : tables)
        for (const Chunk& chunk : table.chunks) {
            if (chunk.length > left)
                throw bytes::FormatError("too many chunks share their stored bytes");
            left -= chunk.length;
        }
}

/// Old writable images have a trailer behind plain sectors and nothing else.
Udif plainImage(KolyTrailer trailer)
{
    if (trailer.resourceForkLength != 0)
        throw bytes::FormatError("the image keeps its tables in a resource fork");
    const uint64_t sectors = trailer.dataForkLength / sectorBytes;
    trailer.sectorCount = sectors;
    BlockTable table{.name = "whole disk", .sectorCount = sectors};
    if (sectors != 0)
        table.chunks.push_back(
            {.type = ChunkType::raw, .sectorCount = sectors, .length = sectors * sectorBytes});
    return {.trailer = trailer, .tables = {table}};
}

} // namespace

bool hasTrailer(const bytes::ByteSource& file)
{
    if (file.size() < sizeof(KolyTrailer))
        return false;
    const KolyTrailer trailer = trailerOf(file);
    return trailer.signature == kolySignature && trailer.version == trailerVersion
        && trailer.headerSize == sizeof(KolyTrailer);
}

Udif readUdif(const bytes::ByteSource& file)
{
    if (!hasTrailer(file))
        throw bytes::FormatError("expected a trailer of 512 bytes at the end of the file");
    Udif image{.trailer = trailerOf(file)};
    checkTrailer(image.trailer, file.size());
    if (image.trailer.xmlLength == 0)
        return plainImage(image.trailer);

    const auto xml = file.read(image.trailer.xmlOffset, image.trailer.xmlLength);
    for (const BlockResource& resource : readPropertyList(xml)) {
        BlockTable table = readBlockTable(resource.data, image.trailer.dataForkLength);
        table.id = resource.id;
        table.name = resource.name;
        image.tables.push_back(std::move(table));
    }
    checkTables(image.tables, image.sectorCount());
    checkSharing(image.tables, image.trailer.dataForkLength);
    return image;
}

std::vector<std::byte> writeUdifTail(Udif& image, uint64_t dataForkLength)
{
    std::vector<BlockResource> resources;
    for (const BlockTable& table : image.tables)
        resources.push_back({.id = table.id, .name = table.name, .data = writeBlockTable(table)});
    const std::string xml = writePropertyList(resources);

    KolyTrailer& trailer = image.trailer;
    trailer.signature = kolySignature;
    trailer.version = trailerVersion;
    trailer.headerSize = sizeof(KolyTrailer);
    trailer.flags = flattened;
    trailer.dataForkLength = dataForkLength;
    trailer.segmentNumber = 1;
    trailer.segmentCount = 1;
    trailer.xmlOffset = dataForkLength;
    trailer.xmlLength = xml.size();
    trailer.masterChecksum = StoredChecksum::ofCrc(masterChecksumOf(image.tables));

    bytes::ByteWriter out;
    out.text(xml);
    out.record(trailer);
    return out.take();
}

uint32_t masterChecksumOf(const std::vector<BlockTable>& tables)
{
    uint32_t crc = 0;
    for (const BlockTable& table : tables)
        crc = bytes::crc32(bytes::recordBytes(table.checksum.value), crc);
    return crc;
}

} // namespace udif
