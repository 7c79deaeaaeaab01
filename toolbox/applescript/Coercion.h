#pragma once

#include "applescript/Application.h"
#include "applescript/Value.h"

#include <optional>

namespace applescript {

/// AppleScript's `as`. Throws ScriptError: -1700 where the value can't be that, -43 for an alias of
/// a file that isn't there.
Value coerced(const Value& value, const Term& type, Application& application);

/// "Can’t make X into type Y." (-1700), X in raw form.
[[noreturn]] void failCoercion(const Value& value, std::string_view type);

/// Whole numbers as they are, reals rounded to nearest. None for anything else, and for a real
/// that no 64-bit integer holds.
std::optional<int64_t> wholeNumber(const Value& value);
std::optional<double> realNumber(const Value& value);

} // namespace applescript
