#include "notarization/SubmissionText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

std::optional<QString> submissionIn(const QString& transcript)
{
    static const QRegularExpression identifier(
        u"(?:Successfully [^\\n]*file|Processing complete)\\s+"
        "id: ([0-9A-Fa-f]{8}(?:-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12})\\b"_s);
    const QRegularExpressionMatch found = identifier.match(transcript);
    if (!found.hasMatch())
        return std::nullopt;
    return found.captured(1);
}

QStringList issuesIn(const QString& log)
{
    const QJsonObject root = QJsonDocument::fromJson(log.toUtf8()).object();
    QStringList lines;
    for (const QJsonValueConstRef& each : root[u"issues"].toArray()) {
        const QJsonObject issue = each.toObject();
        const QString message = issue[u"message"].toString();
        const QString path = issue[u"path"].toString();
        lines += path.isEmpty() ? message : path + u": "_s + message;
    }
    return lines;
}
