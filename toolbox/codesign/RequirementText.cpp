#include "codesign/Digest.h"
#include "codesign/Requirement.h"

#include <algorithm>
#include <cctype>

namespace codesign {

namespace {

constexpr std::string_view keywords[] = {"guest", "host", "designated", "library", "plugin", "or",
    "and", "always", "true", "never", "false", "identifier", "cdhash", "platform", "notarized",
    "legacy", "anchor", "apple", "generic", "certificate", "cert", "trusted", "info", "entitlement",
    "exists", "absent", "leaf", "root", "timestamp"};

bool isPlain(std::string_view text, bool dotsToo)
{
    if (text.empty() || std::isdigit(static_cast<unsigned char>(text[0])) != 0)
        return false;
    if (std::ranges::find(keywords, text) != std::end(keywords))
        return false;
    return std::ranges::all_of(text, [dotsToo](char raw) {
        const auto c = static_cast<unsigned char>(raw);
        return c < 0x80 && (std::isalnum(c) != 0 || (dotsToo && c == '.'));
    });
}

bool isPrintable(std::string_view text)
{
    return std::ranges::all_of(text, [](char raw) {
        const auto c = static_cast<unsigned char>(raw);
        return c < 0x80 && (std::isprint(c) != 0 || std::isspace(c) != 0);
    });
}

std::string hexText(std::string_view raw)
{
    return hexOf(std::as_bytes(std::span(raw.data(), raw.size())));
}

std::string dataText(std::string_view data, bool dotsToo = false)
{
    if (isPlain(data, dotsToo))
        return std::string(data);
    if (!isPrintable(data))
        return "0x" + hexText(data);
    std::string quoted = "\"";
    for (const char c : data) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

std::string certificateText(int32_t index)
{
    if (index == leafCertificate)
        return "certificate leaf";
    if (index == rootCertificate)
        return "certificate root";
    return "certificate " + std::to_string(index);
}

std::string dateText(int64_t seconds)
{
    return "timestamp " + std::to_string(seconds);
}

std::string matchText(const Expression& expression)
{
    const std::string value = dataText(expression.value);
    switch (expression.match) {
    case Match::exists:
        return " /* exists */";
    case Match::absent:
        return " absent ";
    case Match::equal:
        return " = " + value;
    case Match::contains:
        return " ~ " + value;
    case Match::beginsWith:
        return " = " + value + "*";
    case Match::endsWith:
        return " = *" + value;
    case Match::lessThan:
        return " < " + value;
    case Match::greaterThan:
        return " > " + value;
    case Match::lessEqual:
        return " <= " + value;
    case Match::greaterEqual:
        return " >= " + value;
    case Match::on:
        return " = " + dateText(expression.date);
    case Match::before:
        return " < " + dateText(expression.date);
    case Match::after:
        return " > " + dateText(expression.date);
    case Match::onOrBefore:
        return " <= " + dateText(expression.date);
    case Match::onOrAfter:
        return " >= " + dateText(expression.date);
    }
    return {};
}

/// Below a stronger operator, a weaker one needs parentheses.
enum class Strength { either, both, primary };

std::string textOf(const Expression& expression, Strength context)
{
    const auto wrapped = [context](Strength own, const std::string& text) {
        return own < context ? "(" + text + ")" : text;
    };
    switch (expression.op) {
    case Op::never:
        return "never";
    case Op::always:
        return "always";
    case Op::identifier:
        return "identifier " + dataText(expression.key);
    case Op::appleAnchor:
        return "anchor apple";
    case Op::appleGenericAnchor:
        return "anchor apple generic";
    case Op::anchorTrusted:
        return "anchor trusted";
    case Op::notarized:
        return "notarized";
    case Op::legacy:
        return "legacy";
    case Op::namedAnchor:
        return "anchor apple " + dataText(expression.key);
    case Op::namedCode:
        return "(" + dataText(expression.key) + ")";
    case Op::codeHash:
        return "cdhash H\"" + hexText(expression.key) + "\"";
    case Op::certificateHash:
        return certificateText(expression.certificate) + " = H\"" + hexText(expression.key) + "\"";
    case Op::certificateTrusted:
        return certificateText(expression.certificate) + " trusted";
    case Op::platform:
        return "platform = " + std::to_string(expression.certificate);
    case Op::infoKeyValue:
    case Op::infoField:
        return "info[" + dataText(expression.key, true) + "]" + matchText(expression);
    case Op::entitlementField:
        return "entitlement[" + dataText(expression.key, true) + "]" + matchText(expression);
    case Op::certificateField:
        return certificateText(expression.certificate) + "[" + dataText(expression.key, true) + "]"
            + matchText(expression);
    case Op::certificateExtension:
        return certificateText(expression.certificate) + "[field." + oidText(expression.key) + "]"
            + matchText(expression);
    case Op::certificatePolicy:
        return certificateText(expression.certificate) + "[policy." + oidText(expression.key) + "]"
            + matchText(expression);
    case Op::certificateTimestamp:
        return certificateText(expression.certificate) + "[timestamp." + oidText(expression.key)
            + "]" + matchText(expression);
    case Op::both:
        return wrapped(Strength::both,
            textOf(expression.operands[0], Strength::both) + " and "
                + textOf(expression.operands[1], Strength::both));
    case Op::either:
        return wrapped(Strength::either,
            textOf(expression.operands[0], Strength::either) + " or "
                + textOf(expression.operands[1], Strength::either));
    case Op::negated:
        return "! " + textOf(expression.operands[0], Strength::primary);
    }
    return {};
}

} // namespace

std::string requirementText(const Expression& expression)
{
    return textOf(expression, Strength::either);
}

} // namespace codesign
