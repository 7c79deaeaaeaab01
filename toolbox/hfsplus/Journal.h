#pragma once

#include "bytes/ByteDevice.h"
#include "hfsplus/VolumeRecords.h"

namespace hfsplus {

/// True when the volume has a journal with entries that were not carried out (Apple TN1150,
/// "Journal"). Its trees are then older than what a Mac would show, and must not be changed.
/// Throws bytes::FormatError for a journal that can't be read.
bool journalHasEntries(const bytes::ByteSource& source, const VolumeHeader& header);

} // namespace hfsplus
