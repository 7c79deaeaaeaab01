#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace volumes {

/// A file as the host tells it from all others, whatever its name. A deleted file's inode number
/// is soon given to another, so the moment of birth counts too.
struct FileIdentity {
    uint64_t device = 0;
    uint64_t inode = 0;
    int64_t born = 0; // nanoseconds since 1970; 0 where the file system doesn't say

    /// None when nothing is at `path`.
    static std::optional<FileIdentity> of(const std::filesystem::path& path);
    /// Throws std::system_error when nothing is at `path`.
    static FileIdentity ofExisting(const std::filesystem::path& path);
    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// A partition of an attached image. `number` is the n of /dev/disk4sN; 0 for a disk without a map.
struct Slice {
    unsigned number = 0;
    std::string content; // "Apple_HFS", as attach lists it
    std::string typeID; // the partition's GUID, as info lists it
    uint64_t start = 0; // bytes
    uint64_t length = 0; // bytes

    friend bool operator==(const Slice&, const Slice&) = default;
};

/// What is known about one attached image; kept in the registry from attach to detach.
struct AttachedImage {
    /// `preparing`, `writing` and `discarding` last as long as the tool that does it; after one
    /// that was killed the next tool tidies up. From `writing` on the folder no longer counts: the
    /// log of its changes does.
    enum class Stage { preparing, mounted, writing, discarding, unmounted };

    unsigned disk = 0; // the N of /dev/diskN
    Stage stage = Stage::preparing;

    std::filesystem::path image;
    FileIdentity identity;
    std::string imageType; // "UDIF read-only compressed (zlib)"
    uint64_t sectors = 0; // of the disk
    bool writable = false;

    std::string content; // of the whole disk, "GUID_partition_scheme"; empty without a map
    std::vector<Slice> slices; // empty without a map
    Slice volume; // the one that is mounted

    std::string volumeName; // as the user reads it
    std::string mountPoint; // "/Volumes/NAME", as the Mac has it; empty while not mounted
    std::filesystem::path folder; // where the volume's files are on this host
    bool ownsFolder = true; // false for a folder that was there before, as a mount point
    bool isServed = false; // the folder is a file system that a process serves, not a copy
    uint32_t createDate = 0; // of the volume, HFS+ seconds, local time
    int64_t attachedAt = 0; // Unix seconds

    std::string diskName() const { return "disk" + std::to_string(disk); }
    /// "disk4s1", or "disk4" without a map.
    std::string volumeDevice() const;
    /// Where the image is now, found also where it was renamed beside its old place; none when it
    /// is gone.
    std::optional<std::filesystem::path> currentPlace() const;
    bool isMounted() const { return stage == Stage::mounted; }

    friend bool operator==(const AttachedImage&, const AttachedImage&) = default;
};

/// One JSON object. Throws std::system_error (EILSEQ) for a path that is not UTF-8.
std::string writeAttachedImage(const AttachedImage& image);
/// Throws bytes::FormatError for anything that the writer would not have written.
AttachedImage readAttachedImage(const std::string& text);

} // namespace volumes
