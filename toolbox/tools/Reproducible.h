#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tools {

/// The time of SOURCE_DATE_EPOCH, with which a build asks for the same bytes each time, in HFS+
/// seconds; none without the variable. Throws std::system_error (EINVAL) when it holds no time
/// that a volume can have.
std::optional<uint32_t> fixedTime();

/// 64 bits for identifiers: from `content` alone when `fixed`, else random.
uint64_t identifierSeed(bool fixed, std::string_view content);

} // namespace tools
