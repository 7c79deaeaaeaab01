#pragma once

#include <filesystem>

namespace archive {

/// Where a zip archive keeps Finder information, resource forks and extended attributes.
enum class MetadataPlace {
    beside, // "._X" next to X
    collected, // "__MACOSX/.../._X"
    nowhere, // left out
};

struct ZipOptions {
    bool keepParent = false; // entries begin with the source folder's own name
    MetadataPlace metadata = MetadataPlace::beside;
};

/// Writes all of `source`, a folder or a file, into a new zip archive at `zip`; an old one is
/// replaced. Each folder comes before what it holds, names in the order of their bytes; links are
/// stored as links. Names keep their bytes; only composed ones are marked as UTF-8, because readers
/// compose what is marked. A `zip` inside of `source` isn't part of itself. Throws
/// std::system_error.
void makeZip(const std::filesystem::path& source, const std::filesystem::path& zip,
    const ZipOptions& options = {});

} // namespace archive
