#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace applescript {

/// What a file or folder is to its volume.
struct ItemIdentity {
    uint32_t id = 0; // catalog node ID
    uint32_t createDate = 0; // HFS+ seconds
};

/// A volume that the Finder sees.
struct MountedVolume {
    std::string name; // from the volume's header, as a user reads it: '/' included
    std::string mountPoint; // as a Mac has it: "/Volumes/NAME"
    std::filesystem::path folder; // where that lies on this host
    bool writable = true;
    uint32_t createDate = 0; // the header's, HFS+ seconds
    /// By the path from the volume's root, without a leading '/', names as the host spells them.
    /// None for what the volume's catalog doesn't hold yet. May be empty: nothing is known then.
    std::function<std::optional<ItemIdentity>(const std::string& path)> identityOf;
};

} // namespace applescript
