#pragma once

#include "udif/ChunkPlan.h"
#include "udif/ImageConverter.h"
#include "udif/Udif.h"

namespace bytes {
class File;
} // namespace bytes

namespace udif {

class DiskImage;

/// One conversion into a UDIF image. Borrows its arguments.
class UdifImageJob {
public:
    UdifImageJob(const DiskImage& source, const ConvertOptions& options);

    /// Fills the empty file `out`, then reads it back and verifies it.
    ConvertReport write(bytes::File& out);

private:
    struct EncodedChunk;
    class Encoder;

    void writeDataFork(bytes::File& out);
    void append(bytes::File& out, const ChunkPlan::Item& item, const EncodedChunk& chunk);
    void finish(bytes::File& out);
    bool readsBack(const bytes::File& out, const Udif& written) const;
    void readBack(const bytes::File& out) const;
    ConvertReport report(uint64_t fileBytes) const;

    const DiskImage& m_source;
    const ConvertOptions& m_options;
    ChunkPlan m_plan;
    Udif m_image;
    std::vector<uint32_t> m_crcs; // of the tables so far
    uint64_t m_dataForkLength = 0;
    uint32_t m_dataForkCrc = 0;
    uint64_t m_storedSectors = 0;
};

} // namespace udif
