#pragma once

struct fuse_lowlevel_ops;

namespace mounting {

/// How requests that list folders are answered.
void addFolderHandlers(fuse_lowlevel_ops& handlers);

} // namespace mounting
