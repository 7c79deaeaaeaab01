#pragma once

#include "lzfse/Output.h"

#include <cstddef>
#include <span>

namespace lzfse {

/// Decodes the byte codes of an LZVN block's payload, which must append exactly `rawBytes` bytes.
/// Throws FormatError.
void decodeLzvn(std::span<const std::byte> payload, std::size_t rawBytes, Output& out);

} // namespace lzfse
