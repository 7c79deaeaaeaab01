#pragma once

#include <string>
#include <string_view>

namespace archive {

/// What an archive calls an entry, as a path below the folder that it is unpacked into: names
/// parted by single slashes, none at either end. "" is that folder itself. Throws
/// bytes::FormatError for what leads out of the folder or can't be a path.
std::string entryPath(std::string_view stored);

/// The folder of an archive in which a Mac collects what belongs to files but isn't their content.
inline constexpr std::string_view collectedMetadata = "__MACOSX";

/// Where the metadata stored at `path` lies in the form that the host's files have it: "._X" beside
/// X. "" for a path whose last name isn't that of metadata.
std::string companionPath(std::string_view path);

} // namespace archive
