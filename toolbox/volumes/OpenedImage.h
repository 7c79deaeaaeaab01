#pragma once

#include "bytes/ByteDevice.h"
#include "hfsplus/Volume.h"
#include "udif/DiskImage.h"
#include "volumes/AttachedImage.h"

#include <filesystem>
#include <optional>

namespace volumes {

/// What an image is attached for. `readWrite` of a compressed image attaches it read-only, as a Mac
/// does.
enum class Access { whatIsPossible, readOnly, readWrite };

/// An image with its volume, read, and what the registry will keep of them.
struct OpenedImage {
    /// Throws VolumeError for an image without an HFS+ volume, udif::ImageError,
    /// bytes::FormatError, std::system_error, also where `readWrite` isn't allowed.
    OpenedImage(const std::filesystem::path& path, Access access);
    OpenedImage(const OpenedImage&) = delete;
    OpenedImage& operator=(const OpenedImage&) = delete;

    udif::DiskImage disk;
    std::optional<bytes::SourceRange> partition{};
    std::optional<hfsplus::Volume> volume{};
    AttachedImage facts{};
};

} // namespace volumes
