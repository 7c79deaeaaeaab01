#pragma once

#include "finder/DesktopStore.h"

namespace finder {

/// What is needed of a bookmark, the younger form of an alias: where it leads. Read only.
struct Bookmark {
    std::vector<std::string> path; // the parts, from the root: "Volumes", "Demo", "bg.png"
    std::string volumeName; // empty when it isn't said
    std::string volumePath;
};

/// Throws FormatError for anything but a sound bookmark.
Bookmark readBookmark(std::span<const std::byte> raw);

/// A folder's background as bookmark data, joined from `pBBk` and its continuations `pBB0`...;
/// empty when there is none.
std::vector<std::byte> backgroundBookmark(const DesktopStore& store, std::u16string_view name);

/// Removes those records.
void removeBackgroundBookmark(DesktopStore& store, std::u16string_view name);

} // namespace finder
