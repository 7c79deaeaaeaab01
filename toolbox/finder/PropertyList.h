#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace finder {

/// A value in a property list; the first alternative stands for the kinds that no view setting
/// has (dates, arrays, inner dictionaries), which are recognised but not kept.
using PropertyValue =
    std::variant<std::monostate, bool, int64_t, double, std::string, std::vector<std::byte>>;

/// A property list whose top is a dictionary, in the order of the keys' bytes. Texts are UTF-8.
using PropertyDictionary = std::map<std::string, PropertyValue>;

/// Binary form (Apple's open CFBinaryPList sources): the dictionary, its keys in order, its values
/// in that order, nothing shared; a real always takes 8 bytes, as a Finder writes it. Throws
/// FormatError for a text that is not UTF-8 and for a value of no kept kind.
std::vector<std::byte> writePropertyList(const PropertyDictionary& dictionary);

/// Throws FormatError for anything but a sound binary list with a dictionary on top. What is
/// copied is bounded, however often an object is referred to.
PropertyDictionary readPropertyList(std::span<const std::byte> raw);

} // namespace finder
