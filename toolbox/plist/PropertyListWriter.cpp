#include "bytes/Unicode.h"
#include "plist/PropertyList.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace plist {

namespace {

constexpr std::size_t lineWidth = 76;
constexpr std::size_t narrowestLine = 16;
constexpr std::size_t columnsATab = 8;
constexpr std::time_t referenceDate = 978307200; // 2001-01-01 in Unix time

std::string escaped(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else
            out += c;
    }
    return out;
}

std::string base64(std::span<const std::byte> data)
{
    static constexpr char letters[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    out.reserve((data.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < data.size(); at += 3) {
        const std::size_t count = std::min<std::size_t>(3, data.size() - at);
        uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = group << 8 | (i < count ? std::to_integer<uint32_t>(data[at + i]) : 0);
        for (std::size_t i = 0; i < 4; ++i)
            out += i <= count ? letters[group >> (18 - 6 * i) & 63] : '=';
    }
    return out;
}

class Writer {
public:
    std::string document(const Value& value)
    {
        m_out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                "<plist version=\"1.0\">\n";
        put(value, 0);
        m_out += "</plist>\n";
        return std::move(m_out);
    }

private:
    void line(std::size_t depth, std::string_view text)
    {
        m_out.append(depth, '\t');
        m_out += text;
        m_out += '\n';
    }

    void element(std::size_t depth, const std::string& tag, std::string_view text)
    {
        line(depth, "<" + tag + ">" + std::string(text) + "</" + tag + ">");
    }

    void put(const Value& value, std::size_t depth)
    {
        std::visit(
            [this, depth](const auto& content) { putContent(content, depth); }, value.content);
    }

    void putContent(bool value, std::size_t depth) { line(depth, value ? "<true/>" : "<false/>"); }
    void putContent(int64_t value, std::size_t depth)
    {
        element(depth, "integer", std::to_string(value));
    }
    void putContent(double value, std::size_t depth)
    {
        std::array<char, 40> text{};
        std::snprintf(text.data(), text.size(), "%.17g", value);
        element(depth, "real", text.data());
    }
    void putContent(const std::string& value, std::size_t depth)
    {
        element(depth, "string", escaped(value));
    }
    void putContent(const Date& value, std::size_t depth)
    {
        const auto time = static_cast<std::time_t>(std::floor(value.seconds)) + referenceDate;
        std::tm parts{};
        gmtime_r(&time, &parts);
        std::array<char, 40> text{};
        std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
        element(depth, "date", text.data());
    }
    void putContent(const Data& value, std::size_t depth)
    {
        line(depth, "<data>");
        const std::string text = base64(value);
        const std::size_t indented = std::min(columnsATab * depth, lineWidth);
        const std::size_t width = std::max(narrowestLine, lineWidth - indented);
        for (std::size_t at = 0; at < text.size(); at += width)
            line(depth, std::string_view(text).substr(at, width));
        line(depth, "</data>");
    }
    void putContent(const Array& value, std::size_t depth)
    {
        if (value.empty())
            return line(depth, "<array/>");
        line(depth, "<array>");
        for (const Value& item : value)
            put(item, depth + 1);
        line(depth, "</array>");
    }
    void putContent(const Dictionary& value, std::size_t depth)
    {
        if (value.empty())
            return line(depth, "<dict/>");
        // UTF-8 sorts by code point, a Mac by UTF-16 unit; they differ beyond the first plane.
        std::vector<std::pair<std::u16string, const Dictionary::value_type*>> sorted;
        sorted.reserve(value.size());
        for (const auto& entry : value)
            sorted.emplace_back(bytes::utf16FromUtf8(entry.first).value_or(u""), &entry);
        std::ranges::stable_sort(
            sorted, {}, [](const auto& entry) -> const std::u16string& { return entry.first; });

        line(depth, "<dict>");
        for (const auto& entry : sorted) {
            element(depth + 1, "key", escaped(entry.second->first));
            put(entry.second->second, depth + 1);
        }
        line(depth, "</dict>");
    }

    std::string m_out;
};

} // namespace

const Value* Value::find(std::string_view key) const
{
    const auto* dictionary = as<Dictionary>();
    if (dictionary == nullptr)
        return nullptr;
    const auto found = dictionary->find(std::string(key));
    return found == dictionary->end() ? nullptr : &found->second;
}

std::string writeXml(const Value& value)
{
    return Writer().document(value);
}

} // namespace plist
