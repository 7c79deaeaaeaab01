#include "applescript/Value.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>

namespace applescript {

namespace {

const std::string startupDisk = "Macintosh HD";

// Names spell the one separator as the other.
std::string swapped(std::string path)
{
    for (char& c : path) {
        if (c == '/' || c == ':')
            c = c == '/' ? ':' : '/';
    }
    return path;
}

enum class Words { ofTheDictionary, raw };

std::string quoted(const std::string& text)
{
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            out.push_back('\\');
        out.push_back(c);
    }
    return out + '"';
}

std::string realText(double number)
{
    if (!std::isfinite(number))
        return number > 0 ? "inf" : (number < 0 ? "-inf" : "nan");
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    std::string text{digits.data(), end};
    if (text.find_first_of(".e") == std::string::npos)
        text += ".0";
    std::replace(text.begin(), text.end(), 'e', 'E');
    return text;
}

std::string termText(const Term& term, Words words)
{
    if (words == Words::raw && !term.code.empty())
        return "«class " + std::string{term.code} + "»";
    return std::string{term.words};
}

std::string write(const Value& value, Words words);

std::string referenceText(const Reference& reference, Words words)
{
    std::string text = termText(*reference.term, words);
    if (reference.byID)
        text += " id";
    if (reference.key)
        text += ' ' + write(*reference.key, words);
    if (reference.of)
        return text + " of " + write(*reference.of, words);
    return words == Words::raw ? text + " of application \"Finder\"" : text;
}

std::string listText(const List& list, Words words)
{
    std::string text = "{";
    for (const Value& item : list.items()) {
        if (text.size() > 1)
            text += ", ";
        text += write(item, words);
    }
    return text + '}';
}

struct Writer {
    Words words;

    std::string operator()(const Nothing&) const { return {}; }
    std::string operator()(const MissingValue&) const { return "missing value"; }
    std::string operator()(bool flag) const { return flag ? "true" : "false"; }
    std::string operator()(int64_t number) const { return std::to_string(number); }
    std::string operator()(double number) const { return realText(number); }
    std::string operator()(const std::string& text) const { return quoted(text); }
    std::string operator()(const List& list) const { return listText(list, words); }
    std::string operator()(const Enumerator& value) const
    {
        return std::string{term(value.id).words};
    }
    std::string operator()(const ApplicationName& value) const
    {
        return "application " + quoted(value.name);
    }
    std::string operator()(const PosixFile& value) const
    {
        return "file " + quoted(colonForm(value.path));
    }
    std::string operator()(const Alias& value) const
    {
        return "alias " + quoted(colonForm(value.path));
    }
    std::string operator()(const Reference& value) const { return referenceText(value, words); }
};

std::string write(const Value& value, Words words)
{
    return std::visit(Writer{words}, value.content());
}

std::size_t weightOf(const Value& value)
{
    if (const auto* list = value.as<List>())
        return list->weight();
    if (const auto* text = value.as<std::string>())
        return text->size() + 2;
    return 16;
}

bool sameText(const std::string& left, const std::string& right)
{
    const auto lowered = [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
        [&](char a, char b) { return lowered(a) == lowered(b); });
}

bool sameReference(const Reference& left, const Reference& right)
{
    const auto same = [](const std::shared_ptr<const Value>& a,
                          const std::shared_ptr<const Value>& b) {
        return a && b ? isEqual(*a, *b) : !a && !b;
    };
    return left.term == right.term && same(left.key, right.key) && same(left.of, right.of);
}

std::optional<double> numberIn(const Value& value)
{
    if (const auto* whole = value.as<int64_t>())
        return static_cast<double>(*whole);
    if (const auto* real = value.as<double>())
        return *real;
    return std::nullopt;
}

struct SameContent {
    template <typename A, typename B>
    bool operator()(const A&, const B&) const
    {
        return false;
    }
    template <typename A>
    bool operator()(const A& left, const A& right) const
    {
        if constexpr (std::is_same_v<A, std::string>)
            return sameText(left, right);
        else if constexpr (std::is_same_v<A, Reference>)
            return sameReference(left, right);
        else if constexpr (std::is_same_v<A, List>)
            return std::equal(left.items().begin(), left.items().end(), right.items().begin(),
                right.items().end(), isEqual);
        else
            return left == right;
    }
};

} // namespace

List::List(std::vector<Value> items)
{
    for (const Value& item : items) {
        m_weight += weightOf(item) + 2;
        if (const auto* inner = item.as<List>())
            m_depth = std::max(m_depth, inner->depth() + 1);
    }
    m_items = std::make_shared<const std::vector<Value>>(std::move(items));
}

const std::vector<Value>& List::items() const
{
    static const std::vector<Value> empty;
    return m_items ? *m_items : empty;
}

bool isEqual(const Value& left, const Value& right)
{
    const auto a = numberIn(left);
    const auto b = numberIn(right);
    if (a && b && !(left.is<int64_t>() && right.is<int64_t>()))
        return *a == *b;
    return std::visit(SameContent{}, left.content(), right.content());
}

std::string sourceForm(const Value& value)
{
    return write(value, Words::ofTheDictionary);
}
std::string rawForm(const Value& value)
{
    return write(value, Words::raw);
}

std::string colonForm(const std::string& posixPath)
{
    std::string path = swapped(posixPath);
    while (!path.empty() && path.back() == ':')
        path.pop_back();
    const bool absolute = !path.empty() && path.front() == ':';
    return absolute || path.empty() ? startupDisk + path : path;
}

std::string posixForm(const std::string& colonPath)
{
    if (colonPath.starts_with(startupDisk + ':'))
        return swapped(colonPath.substr(startupDisk.size()));
    return "/Volumes/" + swapped(colonPath);
}

} // namespace applescript
