#pragma once

#include "udif/ImageFormat.h"
#include "udif/PartitionMap.h"

#include <filesystem>
#include <memory>

namespace bytes {
class ByteDevice;
class ByteSource;
} // namespace bytes

namespace udif {

struct Udif;

/// An opened disk image of any kind that we read, seen as the disk inside. Reading may happen from
/// several threads at once. Movable; what it hands out lives as long as it does.
class DiskImage {
public:
    enum class Access { readOnly, readWrite };

    /// Throws ImageError (encrypted, not recognized; notWritable for `readWrite` of a UDIF image),
    /// bytes::FormatError for a damaged image, std::system_error for the host.
    static DiskImage open(const std::filesystem::path& path, Access access = Access::readOnly);
    DiskImage(DiskImage&&) noexcept;
    DiskImage& operator=(DiskImage&&) noexcept;
    ~DiskImage();

    const std::filesystem::path& path() const;
    const FormatFacts& format() const;
    uint64_t sectorCount() const;
    /// Bytes of the file itself.
    uint64_t fileBytes() const;
    /// Read at the first call; may throw FormatError then, where the map's chunks are damaged.
    const PartitionMap& partitions() const;

    /// The whole disk, decoded as it is read. Throws FormatError where a chunk is damaged.
    const bytes::ByteSource& disk() const;
    /// The same, writable; throws ImageError::notWritable unless opened `readWrite`.
    bytes::ByteDevice& writableDisk();
    /// Whether a range is known to be zero without reading it: a hole of a sparse file, a chunk
    /// that is not stored. False says nothing.
    bool knownZero(uint64_t offset, uint64_t length) const;

    /// The container, null for a raw image.
    const Udif* udif() const;
    /// The file as it is stored.
    const bytes::ByteSource& file() const;

private:
    struct Parts;
    explicit DiskImage(std::unique_ptr<Parts> parts);
    std::unique_ptr<Parts> m_parts;
};

} // namespace udif
