#pragma once

#include "applescript/Token.h"

#include <string_view>
#include <vector>

namespace applescript {

/// Cuts a script into tokens; the last is `endOfScript`. Never fails: what can't be a token becomes
/// `unknown`, `unclosedComment` or a string with a defect, for the parser to report in its order.
///
/// Terms of the dictionary and reserved words are matched longest first, without regard to case
/// and to the number of blanks between their words. Blank lines are one `endOfLine` each.
std::vector<Token> tokensOf(std::u16string_view script);

} // namespace applescript
