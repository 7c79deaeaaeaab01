#include "udif/UdifPropertyList.h"

#include "bytes/FormatError.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <memory>
#include <plist/plist.h>
#include <string_view>

namespace udif {

namespace {

// ---- reading ---------------------------------------------------------------------------------

struct FreePlist {
    void operator()(void* node) const { plist_free(node); }
};
struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};

std::size_t occurrences(std::string_view text, std::string_view word)
{
    std::size_t count = 0;
    for (auto at = text.find(word); at != text.npos; at = text.find(word, at + word.size()))
        ++count;
    return count;
}

/// The parser makes a node for each element and frees nested ones by recursion, so both are
/// bounded before it sees the text. A list with the most tables we take stays far below.
void requireModest(std::string_view text)
{
    constexpr std::size_t containerLimit = 2 * blockResourceLimit;
    constexpr std::size_t elementLimit = 40 * blockResourceLimit;
    if (text.size() > propertyListLimit)
        throw bytes::FormatError("the property list is too long");
    if (occurrences(text, "<dict") + occurrences(text, "<array") > containerLimit
        || static_cast<std::size_t>(std::ranges::count(text, '<')) > elementLimit)
        throw bytes::FormatError("the property list has too many elements");
}

plist_t member(plist_t dict, const char* key, plist_type type)
{
    if (plist_get_node_type(dict) != PLIST_DICT)
        return nullptr;
    const plist_t node = plist_dict_get_item(dict, key);
    return node && plist_get_node_type(node) == type ? node : nullptr;
}

plist_t requireMember(plist_t dict, const char* key, plist_type type)
{
    if (const plist_t node = member(dict, key, type))
        return node;
    throw bytes::FormatError(std::string("the property list has no ") + key);
}

std::string textOf(plist_t node)
{
    if (!node)
        return {};
    uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    return text ? std::string(text, length) : std::string();
}

int32_t idOf(plist_t resource)
{
    const std::string text = textOf(requireMember(resource, "ID", PLIST_STRING));
    int32_t id = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
    if (error != std::errc{} || end != text.data() + text.size())
        throw bytes::FormatError("a block table has the ID \"" + text.substr(0, 20) + "\"");
    return id;
}

BlockResource resourceOf(plist_t node)
{
    BlockResource resource{.id = idOf(node)};
    // Old images fill one of the two names only.
    resource.name = textOf(member(node, "Name", PLIST_STRING));
    if (resource.name.empty())
        resource.name = textOf(member(node, "CFName", PLIST_STRING));
    uint64_t length = 0;
    const char* data = plist_get_data_ptr(requireMember(node, "Data", PLIST_DATA), &length);
    const auto raw = std::as_bytes(std::span(data, data ? length : 0));
    resource.data.assign(raw.begin(), raw.end());
    return resource;
}

// ---- writing ---------------------------------------------------------------------------------

std::string base64(std::span<const std::byte> raw)
{
    constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((raw.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < raw.size(); at += 3) {
        const std::size_t count = std::min<std::size_t>(3, raw.size() - at);
        uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = group << 8 | (i < count ? std::to_integer<uint32_t>(raw[at + i]) : 0);
        for (std::size_t i = 0; i < 4; ++i)
            text += i <= count ? digits[group >> (18 - 6 * i) & 63] : '=';
    }
    return text;
}

/// Markup is escaped; XML can't hold control characters at all.
std::string escaped(std::string_view text)
{
    std::string out;
    for (const char letter : text) {
        if (letter == '&')
            out += "&amp;";
        else if (letter == '<')
            out += "&lt;";
        else if (letter == '>')
            out += "&gt;";
        else
            out += static_cast<unsigned char>(letter) < 0x20 ? ' ' : letter;
    }
    return out;
}

/// Writes one resource, which stands four tabs deep.
class ResourceEmitter {
public:
    explicit ResourceEmitter(std::string& out)
        : m_out(out)
    {
        m_out += "\t\t\t<dict>\n";
    }
    ~ResourceEmitter() { m_out += "\t\t\t</dict>\n"; }
    ResourceEmitter(const ResourceEmitter&) = delete;
    ResourceEmitter& operator=(const ResourceEmitter&) = delete;

    void text(std::string_view key, std::string_view value)
    {
        name(key);
        line("<string>" + escaped(value) + "</string>");
    }
    void data(std::string_view key, std::span<const std::byte> raw)
    {
        constexpr std::size_t lineLength = 44;
        name(key);
        line("<data>");
        const std::string encoded = base64(raw);
        for (std::size_t at = 0; at < encoded.size(); at += lineLength)
            line(std::string_view(encoded).substr(at, lineLength));
        line("</data>");
    }

private:
    void name(std::string_view key) { line("<key>" + std::string(key) + "</key>"); }
    void line(std::string_view content)
    {
        m_out += "\t\t\t\t";
        m_out += content;
        m_out += '\n';
    }

    std::string& m_out;
};

constexpr std::string_view head = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>resource-fork</key>
	<dict>
		<key>blkx</key>
		<array>
)";

constexpr std::string_view middle = R"(		</array>
		<key>plst</key>
		<array>
)";

constexpr std::string_view tail = R"(		</array>
	</dict>
</dict>
</plist>
)";

constexpr std::string_view attributes = "0x0050";

} // namespace

std::vector<BlockResource> readPropertyList(std::span<const std::byte> xml)
{
    const std::string_view text(reinterpret_cast<const char*>(xml.data()), xml.size());
    requireModest(text);
    plist_t parsed = nullptr;
    plist_from_xml(text.data(), static_cast<uint32_t>(text.size()), &parsed);
    const std::unique_ptr<void, FreePlist> root(parsed);
    if (!root)
        throw bytes::FormatError("the property list can't be parsed");

    const plist_t fork = requireMember(root.get(), "resource-fork", PLIST_DICT);
    const plist_t array = requireMember(fork, "blkx", PLIST_ARRAY);
    if (plist_array_get_size(array) > blockResourceLimit)
        throw bytes::FormatError("too many block tables");

    std::vector<BlockResource> resources;
    plist_array_iter start = nullptr;
    plist_array_new_iter(array, &start);
    const std::unique_ptr<void, FreeMemory> iterator(start);
    plist_t node = nullptr;
    for (plist_array_next_item(array, start, &node); node;
         plist_array_next_item(array, start, &node))
        resources.push_back(resourceOf(node));
    return resources;
}

std::string writePropertyList(std::span<const BlockResource> resources)
{
    std::string out(head);
    for (const BlockResource& resource : resources) {
        ResourceEmitter emitter(out);
        emitter.text("Attributes", attributes);
        emitter.text("CFName", resource.name);
        emitter.data("Data", resource.data);
        emitter.text("ID", std::to_string(resource.id));
        emitter.text("Name", resource.name);
    }
    out += middle;
    {
        // Partition resources of the first images; all images still carry this empty one.
        ResourceEmitter emitter(out);
        emitter.text("Attributes", attributes);
        emitter.data("Data", std::vector<std::byte>(1032));
        emitter.text("ID", "0");
        emitter.text("Name", "");
    }
    out += tail;
    return out;
}

} // namespace udif
