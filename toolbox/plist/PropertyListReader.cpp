#include "bytes/FormatError.h"
#include "plist/BinaryTexts.h"
#include "plist/PropertyList.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <plist/plist.h>

namespace plist {

using bytes::FormatError;

namespace {

constexpr std::size_t largest = 64U << 20;
constexpr int deepest = 256;

using Node = std::unique_ptr<void, decltype(&plist_free)>;
using Text = std::unique_ptr<char, decltype(&std::free)>;

/// The library frees what it has read recursively; text that nests beyond reason is refused before
/// it gets there.
void requireShallow(std::string_view xml)
{
    int depth = 0;
    for (std::size_t at = xml.find('<'); at != std::string_view::npos; at = xml.find('<', at + 1)) {
        const std::string_view tag = xml.substr(at, 8);
        if (tag.starts_with("<dict>") || tag.starts_with("<array>"))
            ++depth;
        else if (tag.starts_with("</dict>") || tag.starts_with("</array>"))
            --depth;
        if (depth > deepest)
            throw FormatError("a property list nested too deeply", at);
    }
}

Value valueOf(plist_t node, int depth);

Array arrayOf(plist_t node, int depth)
{
    Array array;
    const uint32_t count = plist_array_get_size(node);
    array.reserve(count);
    for (uint32_t i = 0; i < count; ++i)
        array.push_back(valueOf(plist_array_get_item(node, i), depth + 1));
    return array;
}

Dictionary dictionaryOf(plist_t node, int depth)
{
    Dictionary dictionary;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    const Text freeIterator(static_cast<char*>(iterator), std::free);
    for (;;) {
        char* key = nullptr;
        plist_t child = nullptr;
        plist_dict_next_item(node, iterator, &key, &child);
        const Text name(key, std::free);
        if (child == nullptr)
            break;
        dictionary.insert_or_assign(name ? name.get() : "", valueOf(child, depth + 1));
    }
    return dictionary;
}

std::string textOf(plist_t node)
{
    uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    return text == nullptr ? std::string() : std::string(text, length);
}

Value valueOf(plist_t node, int depth)
{
    if (depth > deepest)
        throw FormatError("a property list nested too deeply");
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return value != 0;
    }
    case PLIST_UINT: {
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return static_cast<int64_t>(value);
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return value;
    }
    case PLIST_STRING:
        return textOf(node);
    case PLIST_DATA: {
        uint64_t length = 0;
        const char* raw = plist_get_data_ptr(node, &length);
        const auto view = std::as_bytes(std::span(raw, raw == nullptr ? 0 : length));
        return Data(view.begin(), view.end());
    }
    case PLIST_DATE: {
        int32_t seconds = 0;
        int32_t microseconds = 0;
        plist_get_date_val(node, &seconds, &microseconds);
        return Date{seconds + microseconds / 1e6};
    }
    case PLIST_ARRAY:
        return arrayOf(node, depth);
    case PLIST_DICT:
        return dictionaryOf(node, depth);
    default:
        throw FormatError("a property list with a value of an unknown kind");
    }
}

} // namespace

Value read(std::span<const std::byte> raw)
{
    if (raw.size() > largest)
        throw FormatError("a property list of " + std::to_string(raw.size()) + " bytes");
    const std::string_view text(reinterpret_cast<const char*>(raw.data()), raw.size());
    plist_t root = nullptr;
    if (text.starts_with("bplist")) {
        requireSoundTexts(raw);
        plist_from_bin(text.data(), static_cast<uint32_t>(text.size()), &root);
    } else {
        requireShallow(text);
        plist_from_xml(text.data(), static_cast<uint32_t>(text.size()), &root);
    }
    const Node node(root, plist_free);
    if (!node)
        throw FormatError("not a property list", 0);
    return valueOf(node.get(), 0);
}

} // namespace plist
