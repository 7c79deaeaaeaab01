#pragma once

#include <filesystem>

namespace archive {

/// Copies what `source` is or leads to: a folder's contents into the folder `target`, which is made
/// where it is missing and filled up; a file or link into the folder `target`, or in place of
/// whatever else is there. Bytes, links, hard links among the files, permissions and dates survive,
/// and with `metadata` also Finder information, resource forks and extended attributes. Each file
/// appears whole or not at all; no link below `target` is followed. Throws std::system_error.
void copyTree(
    const std::filesystem::path& source, const std::filesystem::path& target, bool metadata = true);

} // namespace archive
