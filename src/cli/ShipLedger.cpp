#include "cli/ShipLedger.h"

#include "platform/AtomicFile.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <optional>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

const QString schema = u"vandor.ship-ledger/1"_s;
constexpr qint64 sizeLimit = 1 << 20;

constexpr ShipStep allSteps[] = {ShipStep::signApplication, ShipStep::notarizeApplication,
    ShipStep::buildImage, ShipStep::signImage, ShipStep::notarizeImage};

struct Field {
    QStringView name;
    QString ShipRecord::*value;
};
constexpr Field fields[] = {
    {u"input", &ShipRecord::input},
    {u"means", &ShipRecord::means},
    {u"submission", &ShipRecord::submission},
    {u"output", &ShipRecord::output},
    {u"code", &ShipRecord::code},
};

QString outcomeOf(const ShipRecord& record)
{
    if (!record.output.isEmpty())
        return u"done"_s;
    return record.submission.isEmpty() ? u"failed"_s : u"submitted"_s;
}

/// The steps, or nothing when the file has none.
std::optional<QJsonObject> stepsIn(QFile& file)
{
    if (!file.open(QFile::ReadOnly))
        return std::nullopt;
    const QJsonObject root = QJsonDocument::fromJson(file.read(sizeLimit)).object();
    if (root[u"schema"_s] != schema || !root[u"steps"_s].isObject())
        return std::nullopt;
    return root[u"steps"_s].toObject();
}

} // namespace

ShipLedger::ShipLedger(const QString& output)
    : m_path(output + u".ledger.json"_s)
{
    QFile file(m_path);
    const std::optional<QJsonObject> known = stepsIn(file);
    m_wasDamaged = !known && file.exists();
    const QJsonObject steps = known.value_or(QJsonObject());
    for (const ShipStep step : allSteps) {
        const QJsonObject content = steps[nameOf(step)].toObject();
        ShipRecord& record = m_records[step];
        for (const Field& field : fields)
            record.*field.value = content[field.name].toString();
        m_times[step] = content[u"time"_s].toString();
    }
}

void ShipLedger::record(ShipStep step, const ShipRecord& record, const QDateTime& now)
{
    m_records[step] = record;
    m_times[step] = now.toUTC().toString(Qt::ISODate);
    QJsonObject steps;
    for (const ShipStep each : allSteps) {
        const ShipRecord& known = m_records[each];
        if (known == ShipRecord())
            continue;
        QJsonObject content{{u"time"_s, m_times[each]}, {u"outcome"_s, outcomeOf(known)}};
        for (const Field& field : fields) {
            if (const QString& value = known.*field.value; !value.isEmpty())
                content[field.name] = value;
        }
        steps[nameOf(each)] = content;
    }
    const QJsonObject root{{u"schema"_s, schema}, {u"steps"_s, steps}};
    AtomicFile::write(m_path, QJsonDocument(root).toJson(), S_IRUSR | S_IWUSR);
}

QString nameOf(ShipStep step)
{
    switch (step) {
    case ShipStep::signApplication:
        return u"sign-application"_s;
    case ShipStep::notarizeApplication:
        return u"notarize-application"_s;
    case ShipStep::buildImage:
        return u"build-image"_s;
    case ShipStep::signImage:
        return u"sign-image"_s;
    case ShipStep::notarizeImage:
        return u"notarize-image"_s;
    }
    Q_UNREACHABLE();
}
