#pragma once

#include "macfile/Metadata.h"

#include <span>

namespace macfile {

/// The AppleDouble form of a file's metadata, as it lies in `._` files (RFC 1740, appendix B;
/// extended attributes as Apple's open copyfile sources have them). Throws FormatError for bytes
/// that are none. The filler fork that a Mac writes beside attributes is read as no fork.
Metadata readAppleDouble(std::span<const std::byte> raw);

/// 82 bytes and the fork; with extended attributes the larger form, at least 4096 bytes. Throws
/// FormatError when a name is empty, has more than 254 bytes or holds a NUL.
std::vector<std::byte> writeAppleDouble(const Metadata& metadata);

/// Whether the first bytes (26 are enough) promise an AppleDouble.
bool looksLikeAppleDouble(std::span<const std::byte> head);

} // namespace macfile
