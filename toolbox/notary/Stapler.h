#pragma once

#include "codesign/StaticCode.h"

#include <optional>
#include <span>
#include <vector>

namespace notary {

/// Whether a ticket can be attached to code of this kind: a bundle with a Contents folder, or a
/// disk image.
bool canCarryTicket(const codesign::StaticCode& code);

/// The ticket that is attached to `code`, as it lies there; none when there is none. Throws
/// bytes::FormatError for what is too long to be one, and std::system_error.
std::optional<std::vector<std::byte>> stapledTicket(const codesign::StaticCode& code);

/// Attaches `ticket` to signed `code` in place of the one that is there, whole or not at all. The
/// signature stays what it is. `code` is to be read again afterwards. Throws std::system_error.
void staple(const codesign::StaticCode& code, std::span<const std::byte> ticket);

} // namespace notary
