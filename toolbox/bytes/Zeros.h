#pragma once

#include <cstddef>
#include <span>

namespace bytes {

/// True when every byte is zero; nothing at all counts as zero.
bool isZero(std::span<const std::byte> raw);

} // namespace bytes
