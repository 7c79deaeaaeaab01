#pragma once

#include "mounting/Mount.h"

namespace mounting {

struct ServedVolume;

/// Starts a process without terminal or parent that mounts the volume and answers the host's
/// requests until it is unmounted or its service file has no name. It holds no file of this process
/// but that and the image. False, once that is known, where the host lets nobody mount. Throws
/// std::system_error.
bool startServing(ServedVolume& volume, const MountOptions& options);

} // namespace mounting
