#pragma once

#include "udif/BlockTable.h"

#include <cstddef>
#include <vector>

namespace bytes {
class ByteSource;
} // namespace bytes

namespace udif {

/// A read-only disk image: the trailer, and the tables that say where the disk's sectors are.
struct Udif {
    KolyTrailer trailer{};
    std::vector<BlockTable> tables{}; // in the file's order

    uint64_t sectorCount() const { return trailer.sectorCount; }
    friend bool operator==(const Udif&, const Udif&) = default;
};

/// Whether the last 512 bytes are a UDIF trailer.
bool hasTrailer(const bytes::ByteSource& file);

/// Reads trailer, property list and tables of untrusted input. An image without a property list is
/// taken as its data fork in one table. Throws FormatError.
Udif readUdif(const bytes::ByteSource& file);

/// What follows the data fork in a file: the property list and the trailer, whose offsets and
/// lengths it fills in. The data fork starts at the file's first byte.
std::vector<std::byte> writeUdifTail(Udif& image, uint64_t dataForkLength);

/// The CRC over the tables' checksums.
uint32_t masterChecksumOf(const std::vector<BlockTable>& tables);

} // namespace udif
