#pragma once

#include "bytes/ByteDevice.h"
#include "codesign/SuperBlob.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

namespace codesign {

/// A read-only disk image as code: what a signature covers and where it lies. The signature stands
/// between the image's own bytes and its trailer; everything before it stays as it is.
struct DiskImageCode {
    /// None when `source` is no image with a trailer. Throws bytes::FormatError when the trailer's
    /// signature range is not what a signer writes.
    static std::optional<DiskImageCode> read(const bytes::ByteSource& source);

    /// The trailer as the signature covers it: with the signature's place, without its length.
    std::vector<std::byte> coveredTrailer() const;
    /// Writes the image with `signature` in place of whatever was there (an empty one takes it
    /// away) under a temporary name and renames it over `path`. Mode and extended attributes stay.
    void writeSigned(const std::filesystem::path& path, const Blob& signature) const;

    uint64_t signedLength = 0; // bytes before the signature
    std::vector<std::byte> trailer; // as it lies in the file
    std::vector<std::byte> signature; // empty: unsigned
};

} // namespace codesign
