#include "codesign/Requirement.h"

#include <optional>

namespace codesign {

namespace {

/// Versions compare by their numbers, part by part, as long as both sides have them.
int compareVersions(const std::string& left, const std::string& right)
{
    std::size_t i = 0;
    std::size_t j = 0;
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    while (i < left.size() && j < right.size()) {
        if (isDigit(left[i]) && isDigit(right[j])) {
            const auto number = [&isDigit](const std::string& text, std::size_t& at) {
                std::string digits;
                while (at < text.size() && isDigit(text[at]))
                    digits += text[at++];
                digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
                return digits;
            };
            const std::string a = number(left, i);
            const std::string b = number(right, j);
            if (a.size() != b.size())
                return a.size() < b.size() ? -1 : 1;
            if (const int order = a.compare(b); order != 0)
                return order;
        } else if (left[i] != right[j]) {
            return left[i] < right[j] ? -1 : 1;
        } else {
            ++i;
            ++j;
        }
    }
    if (i < left.size())
        return 1;
    return j < right.size() ? -1 : 0;
}

bool matches(const Expression& expression, const std::optional<std::string>& actual)
{
    if (expression.match == Match::absent)
        return !actual;
    if (!actual)
        return false;
    const std::string& wanted = expression.value;
    switch (expression.match) {
    case Match::exists:
        return *actual != "false";
    case Match::equal:
        return *actual == wanted;
    case Match::contains:
        return actual->find(wanted) != std::string::npos;
    case Match::beginsWith:
        return actual->starts_with(wanted);
    case Match::endsWith:
        return actual->ends_with(wanted);
    case Match::lessThan:
        return compareVersions(*actual, wanted) < 0;
    case Match::greaterThan:
        return compareVersions(*actual, wanted) > 0;
    case Match::lessEqual:
        return compareVersions(*actual, wanted) <= 0;
    case Match::greaterEqual:
        return compareVersions(*actual, wanted) >= 0;
    default:
        // Dates of certificate extensions are not kept; what cannot be told does not hold.
        return false;
    }
}

} // namespace

bool satisfies(const RequirementSubject& subject, const Expression& expression)
{
    switch (expression.op) {
    case Op::never:
        return false;
    case Op::always:
        return true;
    case Op::identifier:
        return subject.identifier() == expression.key;
    case Op::appleAnchor:
        return subject.isAnchoredAtApple();
    case Op::appleGenericAnchor:
        return subject.isAppleGeneric();
    case Op::anchorTrusted:
        return subject.isTrusted(rootCertificate);
    case Op::certificateTrusted:
        return subject.isTrusted(expression.certificate);
    case Op::certificateHash:
        return subject.certificateSha1(expression.certificate) == expression.key;
    case Op::infoKeyValue:
    case Op::infoField:
        return matches(expression, subject.infoValue(expression.key));
    case Op::entitlementField:
        return matches(expression, subject.entitlement(expression.key));
    case Op::certificateField:
        return matches(
            expression, subject.certificateField(expression.certificate, expression.key));
    case Op::certificateExtension:
    case Op::certificatePolicy:
    case Op::certificateTimestamp: {
        const bool there = subject.certificateHasExtension(expression.certificate, expression.key);
        return matches(
            expression, there ? std::optional<std::string>(std::string()) : std::nullopt);
    }
    case Op::codeHash:
        return subject.hasCodeHash(expression.key);
    case Op::both:
        return satisfies(subject, expression.operands[0])
            && satisfies(subject, expression.operands[1]);
    case Op::either:
        return satisfies(subject, expression.operands[0])
            || satisfies(subject, expression.operands[1]);
    case Op::negated:
        return !satisfies(subject, expression.operands[0]);
    case Op::platform:
        return subject.platform() == static_cast<uint32_t>(expression.certificate);
    case Op::notarized:
        return subject.isNotarized();
    case Op::legacy:
    case Op::namedAnchor:
    case Op::namedCode:
        return false;
    }
    return false;
}

} // namespace codesign
