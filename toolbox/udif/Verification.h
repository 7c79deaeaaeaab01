#pragma once

#include "udif/UdifRecords.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace bytes {
class ByteSource;
} // namespace bytes

namespace udif {

struct Udif;

/// What a check of an image's checksums brought to light.
struct Verification {
    enum class Fault {
        structure, // trailer, property list or a table can't be read, or leaves part of the disk
                   // out
        chunk, // a chunk doesn't decode
        tableChecksum,
        masterChecksum,
        dataForkChecksum,
    };
    struct Finding {
        Fault fault;
        std::string message;
    };
    struct Table {
        std::string name;
        StoredChecksum stored;
        uint32_t computed = 0; // CRC-32, whatever the stored one is
        bool decoded = true; // every chunk did

        bool valid() const { return decoded && (!stored.isCrc() || stored.value == computed); }
    };

    /// False for a raw image: there is nothing to compare with.
    bool hasChecksums = false;
    std::vector<Table> tables; // in the file's order
    StoredChecksum masterStored;
    uint32_t masterComputed = 0;
    std::vector<Finding> findings;

    bool valid() const { return findings.empty(); }
};

struct VerifyOptions {
    unsigned threads = 0; // 0 is one per processor
    std::function<void(uint64_t sectorsDone, uint64_t sectorsInAll)> progress{};
};

/// Decodes every chunk of the image and compares all checksums of kinds that we know. Damage is
/// reported, not thrown; ImageError and std::system_error are as for DiskImage::open.
Verification verifyImage(const std::filesystem::path& path, const VerifyOptions& options = {});
/// The same for a file that is open and read already.
Verification verifyUdif(
    const bytes::ByteSource& file, const Udif& image, const VerifyOptions& options = {});

/// The CRC-32 of the data fork as it is stored, chunks not decoded. `threads` 0 is one per
/// processor.
uint32_t dataForkCrc(const bytes::ByteSource& file, const Udif& image, unsigned threads = 0);

} // namespace udif
