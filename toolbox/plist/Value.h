#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace plist {

struct Value;
using Array = std::vector<Value>;
using Dictionary = std::map<std::string, Value>; // keys in UTF-8
using Data = std::vector<std::byte>;

/// Seconds since 2001-01-01 00:00 UTC.
struct Date {
    double seconds = 0;
    bool operator==(const Date&) const = default;
};

/// One value of a property list.
struct Value {
    using Content = std::variant<bool, int64_t, double, std::string, Data, Date, Array, Dictionary>;

    Value() = default;
    Value(bool value)
        : content(value)
    { }
    Value(int64_t value)
        : content(value)
    { }
    Value(double value)
        : content(value)
    { }
    Value(std::string value)
        : content(std::move(value))
    { }
    Value(const char* value)
        : content(std::string(value))
    { }
    Value(Data value)
        : content(std::move(value))
    { }
    Value(Date value)
        : content(value)
    { }
    Value(Array value)
        : content(std::move(value))
    { }
    Value(Dictionary value)
        : content(std::move(value))
    { }

    /// The content when it is of that type, else null.
    template <typename Type>
    const Type* as() const
    {
        return std::get_if<Type>(&content);
    }
    /// A dictionary's value for `key`; null for a missing key and for what is no dictionary.
    const Value* find(std::string_view key) const;
    /// The same, when that value is of type `Type`.
    template <typename Type>
    const Type* find(std::string_view key) const
    {
        const Value* value = find(key);
        return value == nullptr ? nullptr : value->as<Type>();
    }

    bool operator==(const Value&) const = default;

    Content content;
};

} // namespace plist
