#pragma once

#include "udif/PartitionMap.h"

#include <optional>

namespace udif {

/// Reads an Apple partition map ("Inside Macintosh: Devices", SCSI Manager), with blocks of 512
/// bytes or those of an optical disc. None when there is no map or it leaves the disk.
std::optional<PartitionMap> readApplePartitionMap(const bytes::ByteSource& disk);

} // namespace udif
