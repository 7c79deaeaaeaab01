#pragma once

#include "applescript/Application.h"
#include "applescript/Clock.h"
#include "applescript/Value.h"

#include <string_view>

namespace applescript {

/// Compiles and runs a script (UTF-8) against `application`. Returns the last result, Nothing
/// where it has none. Throws ScriptError; its range is always set. A script that does not compile
/// has sent nothing.
Value runScript(std::string_view script, Application& application, Clock& clock);

} // namespace applescript
