#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace volumes {

class StateFolder;

/// What another room may want to know of an attached volume that is mounted.
struct MountedVolume {
    std::string name; // as the user reads it, '/' included
    std::string mountPoint; // as a Mac has it: "/Volumes/NAME"
    std::filesystem::path folder; // where that is on this host
    std::filesystem::path image; // the file that holds the volume
    uint64_t partitionStart = 0; // bytes into the image's disk
    uint64_t partitionLength = 0; // bytes
    bool writable = false;
    uint32_t createDate = 0; // of the volume as its header has it: HFS+ seconds, local time
};

/// What a file or folder is to its volume.
struct ItemIdentity {
    uint32_t id = 0; // catalog node ID
    uint32_t parentID = 0;
    uint32_t createDate = 0; // HFS+ seconds, GMT
};

/// In the order of the devices.
std::vector<MountedVolume> mountedVolumes(const StateFolder& state);

/// `path` is relative to the volume's root, "" the root itself. None for what was not there when
/// the volume was attached: its ID is only given when it is written back. Throws
/// bytes::FormatError and std::system_error when the image can't be read.
std::optional<ItemIdentity> identityOf(
    const MountedVolume& volume, const std::filesystem::path& path);

} // namespace volumes
