#include "applescript/Coercion.h"

#include "applescript/ScriptError.h"

#include <charconv>
#include <cmath>

namespace applescript {

namespace {

std::optional<Value> numberInText(const std::string& text)
{
    const char* last = text.data() + text.size();
    int64_t whole = 0;
    if (const auto end = std::from_chars(text.data(), last, whole);
        end.ec == std::errc{} && end.ptr == last)
        return Value{whole};
    double real = 0;
    if (const auto end = std::from_chars(text.data(), last, real);
        end.ec == std::errc{} && end.ptr == last && std::isfinite(real))
        return Value{real};
    return std::nullopt;
}

std::optional<Value> asNumber(const Value& value)
{
    if (value.is<int64_t>() || value.is<double>())
        return value;
    if (const auto* text = value.as<std::string>())
        return numberInText(*text);
    return std::nullopt;
}

std::optional<Value> asText(const Value& value)
{
    if (value.is<std::string>())
        return value;
    if (value.is<int64_t>() || value.is<double>() || value.is<bool>() || value.is<Enumerator>())
        return Value{sourceForm(value)};
    if (const auto* file = value.as<PosixFile>())
        return Value{colonForm(file->path)};
    if (const auto* alias = value.as<Alias>())
        return Value{colonForm(alias->path)};
    return std::nullopt;
}

std::optional<Value> asInteger(const Value& value)
{
    const auto number = asNumber(value);
    const auto whole = number ? wholeNumber(*number) : std::nullopt;
    return whole ? std::optional<Value>{*whole} : std::nullopt;
}

std::optional<Value> asReal(const Value& value)
{
    const auto number = asNumber(value);
    return number ? std::optional<Value>{*realNumber(*number)} : std::nullopt;
}

std::optional<Value> asBoolean(const Value& value)
{
    if (value.is<bool>())
        return value;
    const auto* text = value.as<std::string>();
    if (text && (isEqual(*text, "true") || isEqual(*text, "false")))
        return Value{isEqual(*text, "true")};
    return std::nullopt;
}

std::optional<Value> asAlias(const Value& value, Application& application)
{
    if (value.is<Alias>())
        return value;
    std::string path;
    if (const auto* file = value.as<PosixFile>()) {
        path = file->path;
        if (!application.fileExists(path))
            throw ScriptError::execution(-43, "File file " + colonForm(path) + " wasn’t found.");
    } else if (const auto* text = value.as<std::string>()) {
        path = posixForm(*text);
        if (!application.fileExists(path))
            throw ScriptError::execution(-43, "File " + *text + " wasn’t found.");
    } else if (const auto* reference = value.as<Reference>()) {
        path = application.pathOf(*reference);
    }
    return path.empty() ? std::nullopt : std::optional<Value>{Alias{path}};
}

std::optional<Value> attempt(const Value& value, const Term& type, Application& application)
{
    switch (type.id) {
    case TermID::alias:
        return asAlias(value, application);
    case TermID::boolean:
        return asBoolean(value);
    case TermID::integer:
        return asInteger(value);
    case TermID::number:
        return asNumber(value);
    case TermID::real:
        return asReal(value);
    case TermID::string:
    case TermID::text:
    case TermID::unicodeText:
        return asText(value);
    case TermID::list:
        return value.is<List>() ? value : Value{List{{value}}};
    default:
        return std::nullopt;
    }
}

} // namespace

Value coerced(const Value& value, const Term& type, Application& application)
{
    if (auto result = attempt(value, type, application))
        return *std::move(result);
    failCoercion(value, type.words);
}

void failCoercion(const Value& value, std::string_view type)
{
    throw ScriptError::execution(
        -1700, "Can’t make " + rawForm(value) + " into type " + std::string{type} + '.');
}

std::optional<int64_t> wholeNumber(const Value& value)
{
    if (const auto* whole = value.as<int64_t>())
        return *whole;
    const auto* real = value.as<double>();
    if (!real || !(std::abs(*real) < 9.0e18))
        return std::nullopt;
    return std::llround(*real);
}

std::optional<double> realNumber(const Value& value)
{
    if (const auto* whole = value.as<int64_t>())
        return static_cast<double>(*whole);
    if (const auto* real = value.as<double>())
        return *real;
    return std::nullopt;
}

} // namespace applescript
