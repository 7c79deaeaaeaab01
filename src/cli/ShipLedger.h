#pragma once

#include <QDateTime>
#include <QMap>
#include <QString>

/// The parts of the way from an application to an image that is ready for distribution.
enum class ShipStep { signApplication, notarizeApplication, buildImage, signImage, notarizeImage };

/// What is known of a step. Empty texts: nothing.
struct ShipRecord {
    QString input; // hash of what it worked on
    QString means; // by what: the identity, the profile, the layout
    QString submission; // to the notary
    QString output; // hash of what came out; empty until the step was done
    QString code; // hash of the code directory, which a ticket leaves as it is

    bool operator==(const ShipRecord&) const = default;
};

/// What `vandor ship` has done so far for an output, in a file beside it. Every change is written
/// at once. Holds no secrets.
class ShipLedger {
public:
    /// Reads the ledger of `output`; one that is missing, damaged or of another form counts as
    /// empty.
    explicit ShipLedger(const QString& output);

    ShipRecord at(ShipStep step) const { return m_records.value(step); }
    /// Throws PlatformError.
    void record(ShipStep step, const ShipRecord& record, const QDateTime& now);

    const QString& path() const { return m_path; }
    /// Whether there was something that isn't such a ledger.
    bool wasDamaged() const { return m_wasDamaged; }

private:
    QString m_path;
    bool m_wasDamaged = false;
    QMap<ShipStep, ShipRecord> m_records;
    QMap<ShipStep, QString> m_times;
};

/// The step's name in JSON: "sign-application".
QString nameOf(ShipStep step);
