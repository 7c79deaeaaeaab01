#pragma once

#include "finder/VolumeWindowStyle.h"

#include <string>
#include <string_view>
#include <vector>

/// Byte-for-byte expectations and the volume that they are about.
namespace samples {

std::vector<std::byte> fromHex(std::string_view digits);
std::string toHex(std::span<const std::byte> raw);
std::string sha256(std::span<const std::byte> raw);

/// The picture `/.background/bg.png` on the volume "Demo".
finder::AliasTarget demoPicture();
/// A window of 600 x 400 with that picture and two icons.
finder::VolumeWindowStyle demoStyle();
/// A bookmark that leads to the same picture.
std::vector<std::byte> demoBookmark();

} // namespace samples
