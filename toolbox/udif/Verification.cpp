#include "udif/Verification.h"

#include "bytes/ByteDevice.h"
#include "bytes/Crc32.h"
#include "bytes/FormatError.h"
#include "bytes/OrderedPipeline.h"
#include "udif/ChunkedDisk.h"
#include "udif/DiskImage.h"
#include "udif/Udif.h"
#include "udif/ZeroCrc.h"

#include <algorithm>

namespace udif {

namespace {

using Fault = Verification::Fault;

/// What one job looks at: a chunk, or a bounded piece of one that needs no decoder.
struct Piece {
    std::size_t table = 0;
    ChunkType type = ChunkType::raw;
    uint64_t offset = 0; // in the data fork
    uint64_t length = 0; // as stored
    uint64_t sectorCount = 0;
};

struct Checked {
    uint32_t crc = 0;
    uint64_t length = 0; // of what the CRC is of
    std::string error; // empty unless the piece doesn't decode
};

constexpr uint64_t pieceBytes = uint64_t{4} << 20;

/// Calls `add(offset, length)` for parts of a range that are small enough to be read at once.
template <typename Add>
void cut(uint64_t offset, uint64_t length, Add add)
{
    while (length != 0) {
        const uint64_t part = std::min(length, pieceBytes);
        add(offset, part);
        offset += part;
        length -= part;
    }
}

std::vector<Piece> piecesOf(const Udif& image)
{
    std::vector<Piece> pieces;
    for (std::size_t i = 0; i < image.tables.size(); ++i) {
        for (const Chunk& chunk : image.tables[i].chunks) {
            if (chunk.type == ChunkType::ignored)
                continue;
            if (chunk.type != ChunkType::raw) {
                pieces.push_back({i, chunk.type, chunk.offset, chunk.length, chunk.sectorCount});
                continue;
            }
            cut(chunk.offset, chunk.length, [&](uint64_t offset, uint64_t length) {
                pieces.push_back({i, chunk.type, offset, length, length / sectorBytes});
            });
        }
    }
    return pieces;
}

class PieceChecker {
public:
    PieceChecker(const bytes::ByteSource& file, const Udif& image)
        : m_file(file)
        , m_image(image)
    { }

    Checked check(const Piece& piece)
    {
        const uint64_t length = piece.sectorCount * sectorBytes;
        if (piece.type == ChunkType::zeros)
            return {m_zeros.of(length), length, {}};
        if (piece.type == ChunkType::raw)
            return {bytes::crc32(
                        m_file.read(m_image.trailer.dataForkOffset + piece.offset, piece.length)),
                length, {}};
        try {
            const Chunk chunk{.type = piece.type,
                .sectorCount = piece.sectorCount,
                .offset = piece.offset,
                .length = piece.length};
            return {bytes::crc32(readCompressedChunk(m_file, m_image.trailer, chunk)), length, {}};
        } catch (const bytes::FormatError& error) {
            return {0, length, error.what()};
        }
    }

private:
    const bytes::ByteSource& m_file;
    const Udif& m_image;
    ZeroCrc m_zeros;
};

void checkCoverage(const Udif& image, Verification& result)
{
    uint64_t covered = 0;
    for (const BlockTable& table : image.tables)
        covered += table.sectorCount;
    if (covered != image.sectorCount())
        result.findings.push_back({Fault::structure,
            "the block tables cover " + std::to_string(covered) + " sectors of "
                + std::to_string(image.sectorCount())});
}

void checkTables(const bytes::ByteSource& file, const Udif& image, const VerifyOptions& options,
    Verification& result)
{
    for (const BlockTable& table : image.tables)
        result.tables.push_back({.name = table.name, .stored = table.checksum});

    const std::vector<Piece> pieces = piecesOf(image);
    uint64_t sectorsDone = 0;
    bytes::OrderedPipeline(options.threads)
        .run(
            pieces.size(),
            [&] {
                return [checker = PieceChecker(file, image), &pieces](
                           uint64_t job) mutable { return checker.check(pieces[job]); };
            },
            [&](uint64_t job, const Checked& checked) {
                Verification::Table& table = result.tables[pieces[job].table];
                if (!checked.error.empty()) {
                    table.decoded = false;
                    result.findings.push_back({Fault::chunk, table.name + ": " + checked.error});
                }
                table.computed = bytes::crc32Joined(table.computed, checked.crc, checked.length);
                sectorsDone += pieces[job].sectorCount;
                if (options.progress)
                    options.progress(sectorsDone, image.sectorCount());
            });

    for (const Verification::Table& table : result.tables)
        if (table.decoded && !table.valid())
            result.findings.push_back(
                {Fault::tableChecksum, table.name + ": the checksum is wrong"});
}

} // namespace

uint32_t dataForkCrc(const bytes::ByteSource& file, const Udif& image, unsigned threads)
{
    std::vector<std::pair<uint64_t, uint64_t>> parts;
    cut(image.trailer.dataForkOffset, image.trailer.dataForkLength,
        [&](uint64_t offset, uint64_t length) { parts.emplace_back(offset, length); });
    uint32_t crc = 0;
    bytes::OrderedPipeline(threads).run(
        parts.size(),
        [&] {
            return [&](uint64_t job) {
                return bytes::crc32(file.read(parts[job].first, parts[job].second));
            };
        },
        [&](uint64_t job, uint32_t part) {
            crc = bytes::crc32Joined(crc, part, parts[job].second);
        });
    return crc;
}

Verification verifyUdif(
    const bytes::ByteSource& file, const Udif& image, const VerifyOptions& options)
{
    Verification result;
    const KolyTrailer& trailer = image.trailer;
    checkCoverage(image, result);
    checkTables(file, image, options, result);

    result.masterStored = trailer.masterChecksum;
    result.masterComputed = masterChecksumOf(image.tables);
    if (trailer.masterChecksum.isCrc() && trailer.masterChecksum.value != result.masterComputed)
        result.findings.push_back({Fault::masterChecksum, "the master checksum is wrong"});
    if (trailer.dataForkChecksum.isCrc()
        && trailer.dataForkChecksum.value != dataForkCrc(file, image, options.threads))
        result.findings.push_back({Fault::dataForkChecksum, "the data fork's checksum is wrong"});

    result.hasChecksums = trailer.masterChecksum.isCrc() || trailer.dataForkChecksum.isCrc()
        || std::ranges::any_of(result.tables, [](auto& table) { return table.stored.isCrc(); });
    return result;
}

Verification verifyImage(const std::filesystem::path& path, const VerifyOptions& options)
{
    try {
        const DiskImage image = DiskImage::open(path);
        return image.udif() ? verifyUdif(image.file(), *image.udif(), options) : Verification{};
    } catch (const bytes::FormatError& error) {
        Verification result;
        result.findings.push_back({Fault::structure, error.what()});
        return result;
    }
}

} // namespace udif
