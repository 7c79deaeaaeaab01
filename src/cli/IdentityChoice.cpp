#include "cli/IdentityChoice.h"

#include "cli/UsageError.h"

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

using Identities = QList<SigningIdentity>;

QString linesOf(const Identities& identities)
{
    QString lines;
    for (const SigningIdentity& identity : identities)
        lines += u"\n  "_s + identity.sha1 + u' ' + identity.name;
    return lines;
}

Identities withoutDoubles(const Identities& identities)
{
    Identities result;
    for (const SigningIdentity& identity : identities) {
        if (!std::ranges::count(result, identity.sha1, &SigningIdentity::sha1))
            result += identity;
    }
    return result;
}

/// The identities that `asked` fits in the strictest way that fits any.
Identities fitting(const Identities& identities, const QString& asked)
{
    const std::function<bool(const SigningIdentity&)> ways[] = {
        [&](const SigningIdentity& each) { return each.sha1 == asked.toUpper(); },
        [&](const SigningIdentity& each) { return each.name == asked; },
        [&](const SigningIdentity& each) { return each.name.contains(asked, Qt::CaseInsensitive); },
    };
    Identities result;
    for (const auto& fits : ways) {
        if (result.isEmpty())
            std::ranges::copy_if(identities, std::back_inserter(result), fits);
    }
    return result;
}

} // namespace

SigningIdentity chosenIdentity(const Identities& identities, const std::optional<QString>& asked,
    const std::optional<SigningIdentity>& remembered)
{
    const Identities known = withoutDoubles(identities);
    if (asked) {
        const Identities found = asked->isEmpty() ? Identities() : fitting(known, *asked);
        if (found.isEmpty()) {
            throw UsageError(u"there is no identity “%1” that can sign; there are:"_s.arg(*asked)
                + linesOf(known));
        }
        if (found.size() > 1) {
            throw UsageError(
                u"“%1” fits several identities; name one by its fingerprint:"_s.arg(*asked)
                + linesOf(found));
        }
        return found.first();
    }
    if (remembered)
        return *remembered;
    if (known.size() > 1) {
        throw UsageError(
            u"several identities can sign; name one with --identity:"_s + linesOf(known));
    }
    return known.first();
}
