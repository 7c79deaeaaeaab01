#pragma once

#include "macfile/Metadata.h"

#include <span>

namespace macfile {

/// Gives a plain file an icon of its own: the resource `icns` -16455 and the custom-icon flag.
/// Other resources stay. `icns` is stored as it is. Throws FormatError when the file's present
/// fork is damaged.
void setCustomIcon(Metadata& metadata, std::span<const std::byte> icns);

/// Takes resource and flag away; a fork that held nothing else goes too.
void clearCustomIcon(Metadata& metadata);

/// The bytes of the icon, empty where there is none.
std::vector<std::byte> customIcon(const Metadata& metadata);

} // namespace macfile
