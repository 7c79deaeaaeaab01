#pragma once

#include "mounting/VolumeTree.h"

struct fuse_lowlevel_ops;

namespace mounting {

/// An attribute in no name space of the host's, which only files have that nobody has changed since
/// the volume was mounted, and folders in which nobody has changed anything.
inline constexpr const char* untouchedAttribute = "vandor.untouched";

/// The same: files that a program has open for writing or in its memory have it, and the root while
/// there are any.
inline constexpr const char* writtenAttribute = "vandor.written";

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
