#pragma once

#include "bytes/ByteDevice.h"
#include "bytes/File.h"

namespace hfsplus {

/// Copies all of `source` into the new, empty `file`. Pages of zeros are left out, so that the
/// host keeps holes for them.
void copySparse(const bytes::ByteSource& source, bytes::File& file);

} // namespace hfsplus
