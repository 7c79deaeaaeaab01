#pragma once

#include <cstddef>
#include <span>

namespace lzfse {

/// Decodes a whole stream into the front of `content` and returns how many bytes it filled. The
/// stream must be nothing but its blocks and end mark. Throws FormatError for damage and for a
/// stream that doesn't fit. Knows all kinds of blocks; takes no memory in proportion to its input.
std::size_t decode(std::span<const std::byte> stream, std::span<std::byte> content);

} // namespace lzfse
