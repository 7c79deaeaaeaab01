#pragma once

#include "udif/ImageFormat.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace volumes {

struct CreateOptions {
    std::filesystem::path folder; // its content becomes the volume's; without one that is empty
    std::string volumeName; // as the user typed it
    udif::ImageFormat format = udif::ImageFormat::UDRW;
    std::optional<int> level; // of a compressed format, 1 to 9
    bool replace = false; // an existing file, else EEXIST
    uint64_t diskBytes = 0; // that the whole disk takes at most; 0 = what content and slack take
    bool partitioned = true; // false: the volume is the whole disk
    /// The volume's date and the latest of any file, HFS+ seconds.
    std::optional<uint32_t> fixedTime = std::nullopt;
    /// What the identifiers of disk, partition and volume are made of.
    uint64_t identifierSeed = 0;
    /// Called now and then as the volume and, for other formats than UDRW, the image grow; from
    /// more than one thread, one after the other.
    std::function<void(uint64_t done, uint64_t inAll)> progress{};
};

/// Makes a disk image with one HFS+ volume. Unless its size is asked for, it has room for later
/// changes: a tenth of what the files take, at least 8 MiB. Throws hfsplus::SourceError for files
/// that can't go into a volume, udif::ImageError, std::system_error (ENOSPC where a size is too
/// small).
void createImage(const std::filesystem::path& target, const CreateOptions& options);

} // namespace volumes
