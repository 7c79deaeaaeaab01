#include "signing/AppSignatureStatus.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

constexpr auto authorityMark = "Authority="_L1;

/// The first authority that the report names: the one that issued the signature itself.
QString authorityIn(const QString& report)
{
    for (QString line : report.split(u'\n')) {
        if (line.contains(authorityMark))
            return line.remove(authorityMark);
    }
    return u"Unknown"_s;
}

} // namespace

SignatureFinding signatureIn(const QString& report)
{
    const QString authority = authorityIn(report);
    if (report.contains("Authority=Developer ID Application:"_L1))
        return {AppSignatureStatus::signedBy(authority), u"✅ Signed by: "_s + authority};
    if (report.contains("code object is not signed at all"_L1))
        return {AppSignatureStatus::unsignedCode(), u"⚠️ App is unsigned."_s};
    if (report.contains(authorityMark)) {
        return {AppSignatureStatus::signedBy(authority + u" (Non-Distribution)"_s),
            u"⚠️ Signed by: "_s + authority};
    }
    return {
        AppSignatureStatus::invalid(u"Unknown signature state"_s), u"❓ Unknown signature state."_s};
}
