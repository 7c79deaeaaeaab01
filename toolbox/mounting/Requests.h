#pragma once

#include "mounting/VolumeTree.h"

struct fuse_lowlevel_ops;

namespace mounting {

/// What of the volume the kernel's `statfs` shows.
struct VolumeSpace {
    uint64_t blockSize = 0, blocks = 0;
};

/// The session's user data.
struct ServedVolume {
    VolumeTree tree;
    VolumeSpace space;
};

/// How the kernel's requests (libfuse 3, the low-level interface) are answered from the session's
/// ServedVolume.
const fuse_lowlevel_ops& requestHandlers();

} // namespace mounting
