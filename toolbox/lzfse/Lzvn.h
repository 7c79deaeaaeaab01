#pragma once

#include "lzfse/Output.h"

#include <cstddef>
#include <span>
#include <vector>

/// The byte codes of LZVN blocks.
namespace lzfse {

inline constexpr std::size_t largestLzvnDistance = 65'535;

/// Decodes a block's payload, which must append exactly `rawBytes` bytes. Throws FormatError.
void decodeLzvn(std::span<const std::byte> payload, std::size_t rawBytes, Output& out);

/// Appends the payload of `content`.
void encodeLzvn(std::span<const std::byte> content, std::vector<std::byte>& out);

} // namespace lzfse
