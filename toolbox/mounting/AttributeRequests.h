#pragma once

struct fuse_lowlevel_ops;

namespace mounting {

/// How requests for extended attributes are answered.
void addAttributeHandlers(fuse_lowlevel_ops& handlers);

} // namespace mounting
