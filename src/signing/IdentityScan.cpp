#include "signing/IdentityScan.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

ToolCall findIdentities()
{
    ToolCall call;
    call.program = u"/usr/bin/security"_s;
    call.arguments = {u"find-identity"_s, u"-v"_s, u"-p"_s, u"codesigning"_s};
    call.captureOutput = true;
    return call;
}

QList<SigningIdentity> identitiesIn(const QString& output)
{
    static const QRegularExpression fingerprint(u"[0-9A-F]{40}"_s);
    QList<SigningIdentity> identities;
    for (const QString& line : output.split(u'\n')) {
        if (!line.contains(u')') || !line.contains(u'"'))
            continue;
        const QStringList pieces = line.split(u'"');
        const QRegularExpressionMatch match = fingerprint.match(pieces[0]);
        if (match.hasMatch())
            identities += {QUuid::createUuid(), match.captured(), pieces[1]};
    }
    return identities;
}
