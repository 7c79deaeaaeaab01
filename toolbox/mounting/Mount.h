#pragma once

#include "hfsplus/FolderSnapshot.h"
#include "hfsplus/LayoutPlan.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace mounting {

struct MountOptions {
    std::filesystem::path folder; // where the volume is to appear
    std::filesystem::path scratchFolder; // for what is written to files, made when needed
    /// An open file that the serving process keeps open, with the lock that is on it. As long as
    /// the file has a name the volume is served; who removes it unmounts the volume.
    int serviceDescriptor = -1;
    uint64_t imageDevice = 0; // these two: the open image that the volume is read from
    uint64_t imageInode = 0;
    std::string device; // "disk4s1", shown among the host's mounts
    bool readOnly = false;
};

/// Mounts a volume as a file system of the host (libfuse 3), which a process of its own serves
/// from then on, whatever becomes of this one. What programs change stays with that process and in
/// the scratch folder; nothing is written to the image. Hands back what the volume's files look
/// like at that moment; none where this host lets nobody mount. Throws bytes::FormatError for two
/// entries of one name, std::system_error.
std::optional<hfsplus::FolderSnapshot> mountVolume(
    const hfsplus::Volume& volume, const hfsplus::LayoutPlan& plan, const MountOptions& options);

/// Whether this process sees a volume mounted at `folder`, be its process alive or not.
bool isMountedAt(const std::filesystem::path& folder);

/// Whether nobody has changed anything in an open folder of a mounted volume. Throws
/// std::system_error (ESTALE) for one that is no folder of a mounted volume.
bool isUntouched(int folderDescriptor);

/// Whether a program has a file of the mounted volume open for writing, or in its memory.
bool isBeingWritten(const std::filesystem::path& folder);

/// Hands what programs have written through memory to the serving process.
void writeOut(const std::filesystem::path& folder);

/// `lazily` does it also while programs use the volume, which then goes with the last of them.
/// Throws std::system_error (EBUSY).
void unmount(const std::filesystem::path& folder, bool lazily);

} // namespace mounting
