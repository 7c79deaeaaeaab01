#pragma once

#include <string>
#include <string_view>

namespace hfsplus {

/// The form in which a volume stores a name: fully decomposed after Unicode 3.2, except for
/// U+2000..U+2FFF, U+F900..U+FAFF and what lies beyond U+FFFF; marks in canonical order.
std::u16string decomposed(std::u16string_view name);

/// The composed form, as people type names on other systems. For any stored name,
/// decomposed(composed(name)) is the name again.
std::u16string composed(std::u16string_view name);

} // namespace hfsplus
