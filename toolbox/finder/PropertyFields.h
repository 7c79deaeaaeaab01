#pragma once

#include "bytes/FormatError.h"
#include "finder/PropertyList.h"

namespace finder {

/// Takes `key` into `field` when it is there. Throws FormatError for a value of another type; a
/// whole number is taken for a real.
template <typename Field>
void takeProperty(const PropertyDictionary& dictionary, const std::string& key, Field& field)
{
    const auto found = dictionary.find(key);
    if (found == dictionary.end())
        return;
    if (const auto* value = std::get_if<Field>(&found->second)) {
        field = *value;
        return;
    }
    if constexpr (std::is_same_v<Field, double>) {
        if (const auto* whole = std::get_if<int64_t>(&found->second)) {
            field = static_cast<double>(*whole);
            return;
        }
    }
    throw bytes::FormatError(key + " has the wrong type");
}

} // namespace finder
