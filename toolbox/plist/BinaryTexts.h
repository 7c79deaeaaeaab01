#pragma once

#include <cstddef>
#include <span>

namespace plist {

/// Throws FormatError unless `raw`, a binary property list, has an object table that lies inside it
/// and no text with a NUL: the host's library ends the process at such a key. Texts that share
/// bytes are refused too where together they are many times as long as the list.
void requireSoundTexts(std::span<const std::byte> raw);

} // namespace plist
