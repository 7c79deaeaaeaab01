#pragma once

#include "udif/ChunkPlan.h"
#include "udif/ImageConverter.h"

namespace bytes {
class File;
} // namespace bytes

namespace udif {

class DiskImage;

/// One conversion into a raw image, with holes where the disk has zeros. Borrows its arguments.
class RawImageJob {
public:
    RawImageJob(const DiskImage& source, const ConvertOptions& options);

    /// Fills the empty file `out`, then reads it back and compares.
    ConvertReport write(bytes::File& out);

private:
    struct Content;
    class Reader;

    void append(bytes::File& out, const ChunkPlan::Item& item, const Content& content);
    uint32_t checksumOf(const bytes::File& out) const;

    const DiskImage& m_source;
    const ConvertOptions& m_options;
    ChunkPlan m_plan;
    uint32_t m_crc = 0;
    uint64_t m_storedSectors = 0;
};

} // namespace udif
