#pragma once

#include "udif/ImageFormat.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace volumes {

struct CreateOptions {
    std::filesystem::path folder; // its content becomes the volume's
    std::string volumeName; // as the user typed it
    udif::ImageFormat format = udif::ImageFormat::UDRW;
    std::optional<int> level; // of a compressed format, 1 to 9
    bool replace = false; // an existing file, else EEXIST
    /// The volume's date and the latest of any file, HFS+ seconds.
    std::optional<uint32_t> fixedTime = std::nullopt;
    /// What the identifiers of disk, partition and volume are made of.
    uint64_t identifierSeed = 0;
};

/// Makes a disk image with a GUID partition table and one HFS+ volume, which has room for later
/// changes: a tenth of what the files take, at least 8 MiB. Throws hfsplus::SourceError for files
/// that can't go into a volume, udif::ImageError, std::system_error.
void createImage(const std::filesystem::path& target, const CreateOptions& options);

} // namespace volumes
