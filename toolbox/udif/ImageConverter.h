#pragma once

#include "udif/ImageFormat.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace udif {

class DiskImage;

struct ConvertOptions {
    ImageFormat format = ImageFormat::UDZO;
    /// 1 (fast) to 9 (small), for UDZO to 12, as `-imagekey zlib-level=N` counts; none is the
    /// format's own choice.
    std::optional<int> level;
    /// Replaces an existing file; without it such a file ends the job with EEXIST before any work.
    bool replace = false;
    /// 0 is one per processor. The result doesn't depend on it.
    unsigned threads = 0;
    /// Taken from the content when absent, so that the same disk gives the same file.
    std::optional<std::array<std::byte, 16>> segmentID;
    /// Called on the calling thread, in order, after each chunk.
    std::function<void(uint64_t sectorsDone, uint64_t sectorsInAll)> progress;
    /// Called on the calling thread as each table of the disk is begun and done, in disk order. A
    /// raw image has the same tables, without checksums.
    std::function<void(const std::string& table)> tableBegins;
    std::function<void(const std::string& table, std::optional<uint32_t> crc)> tableDone;
    std::stop_token stop;
};

struct ConvertReport {
    struct Table {
        std::string name;
        uint32_t crc = 0;
    };
    std::vector<Table> tables{}; // empty for UDRW, which has no checksums
    uint32_t masterChecksum = 0;
    uint64_t fileBytes = 0;
    uint64_t sectors = 0; // of the disk
    uint64_t storedSectors = 0; // those that are not known as zeros
};

/// Writes the disk of `source` as a new image of another format: under a temporary name, read back
/// and verified (UDBZ without decoding it), and only then put in place. UDRW is a raw file with
/// holes for zeros. Throws ImageError (formatNotWritable, interrupted), bytes::FormatError for a
/// damaged source, std::system_error for the host; then nothing is left behind.
ConvertReport convertImage(
    const DiskImage& source, const std::filesystem::path& target, const ConvertOptions& options);

} // namespace udif
