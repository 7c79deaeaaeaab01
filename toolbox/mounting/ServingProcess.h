#pragma once

#include "mounting/Mount.h"

struct fuse_session;

namespace mounting {

/// Starts a process without terminal or parent that answers the requests of a mounted session
/// until the volume is unmounted or its entry file is gone. It holds no file of this process but
/// the session's and the image. Throws std::system_error.
void startServing(fuse_session& session, const MountOptions& options);

} // namespace mounting
