#pragma once

#include "finder/DesktopStore.h"

namespace finder {

/// The bytes of a `.DS_Store` in one canonical form: full pages, everything unwritten zero, so
/// that equal stores make equal files. Throws FormatError for a record of more than 4084 bytes
/// and for a value that is not of its type's length.
std::vector<std::byte> writeStore(const DesktopStore& store);

} // namespace finder
