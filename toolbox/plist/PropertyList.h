#pragma once

#include "plist/Value.h"

#include <cstddef>
#include <span>
#include <string>

namespace plist {

/// Reads a property list, XML or binary, whoever wrote it. Throws bytes::FormatError for what is
/// none, for more than 64 MiB and for nesting beyond any real file's.
Value read(std::span<const std::byte> raw);

/// The XML form letter for letter as a Mac writes it: tabs, keys sorted by UTF-16 unit, data
/// wrapped to its indentation. Signatures hash these bytes.
std::string writeXml(const Value& value);

} // namespace plist
