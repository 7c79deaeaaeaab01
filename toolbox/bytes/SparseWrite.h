#pragma once

#include "bytes/ByteDevice.h"

namespace bytes {

/// Writes the runs of 4096-byte pages of `data` that are not all zero, counted from its start.
/// What lies under the other pages must read as zeros already.
void writeSparsely(ByteDevice& device, uint64_t offset, std::span<const std::byte> data);

} // namespace bytes
