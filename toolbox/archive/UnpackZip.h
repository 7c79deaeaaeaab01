#pragma once

#include <cstdint>
#include <filesystem>

namespace archive {

/// What is too much to be meant.
struct UnpackLimits {
    uint64_t bytes = uint64_t{1} << 40; // of all files together
    uint64_t entries = 10'000'000;
};

/// Unpacks a zip archive into `folder`, which is made where it is missing: links, modes, times,
/// and what AppleDouble entries (beside their files or below __MACOSX) say about files. What is
/// there under an entry's name is replaced, folders are filled up.
///
/// Nothing outside of `folder` is touched: an entry whose path leads out of it, by its names or
/// through a link, ends the work, and so do two entries of one name. Links may point anywhere;
/// nothing here follows them. No more is written than a thousand times the archive's size, which
/// deflated data can't pass, and than `limits` say. Special files and set-id bits are not made.
/// Names that are marked as UTF-8 arrive composed, others byte for byte.
///
/// Throws bytes::FormatError and std::system_error; what was unpacked until then stays.
void unpackZip(const std::filesystem::path& zip, const std::filesystem::path& folder,
    const UnpackLimits& limits = {});

} // namespace archive
