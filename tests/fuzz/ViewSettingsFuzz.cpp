#include "FuzzInput.h"

#include "finder/IconViewSettings.h"
#include "finder/PropertyList.h"
#include "finder/WindowSettings.h"

#include <algorithm>

using namespace finder;

namespace {

bool hasKeptValues(const PropertyDictionary& dictionary)
{
    return std::ranges::none_of(dictionary,
        [](const auto& entry) { return std::holds_alternative<std::monostate>(entry.second); });
}

} // namespace

// The binary property lists inside a `.DS_Store`.
FUZZ_TARGET(view_settings, input)
{
    fuzz::accepts([&] {
        const PropertyDictionary dictionary = readPropertyList(input);
        if (hasKeptValues(dictionary)) {
            // Compared as bytes, for a value may be no number.
            const auto written = writePropertyList(dictionary);
            fuzz::insist(writePropertyList(readPropertyList(written)) == written,
                "a list that was written reads as the same");
        }
    });
    fuzz::accepts([&] { writeWindowSettings(readWindowSettings(input)); });
    fuzz::accepts([&] { writeIconViewSettings(readIconViewSettings(input)); });
}
