#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/// The identifier of a submission in what the notary's tool has said so far, once the service has
/// the whole file: from then on it lives without the tool.
std::optional<QString> submissionIn(const QString& transcript);

/// What the service objected to, one line each, from the log of a submission (JSON). Empty when it
/// names nothing or is no such log.
QStringList issuesIn(const QString& log);
