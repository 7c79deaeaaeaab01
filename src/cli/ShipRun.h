#pragma once

#include "cli/BuildOptions.h"
#include "cli/CommandReport.h"
#include "cli/ShipLedger.h"
#include "signing/SigningIdentity.h"

#include <QJsonObject>

#include <functional>

struct CommandHost;

/// What is to be shipped, complete and checked.
struct Shipment {
    BuildOptions build;
    QString application, image; // absolute paths
    QString look; // hash of everything that decides how the image looks
    SigningIdentity identity;
    QString profile;
};

/// The whole way from an application to an image that is ready for distribution, one command after
/// the other. A step whose result is there and unchanged isn't repeated; the examination at the end
/// always is.
class ShipRun {
public:
    /// Borrows `host` and `report`.
    ShipRun(Shipment shipment, const CommandHost& host, CommandReport& report);

    /// Runs the main loop, once or more a step; returns the exit status. Throws PlatformError when
    /// a file can't be hashed or the ledger can't be written.
    int exec();

private:
    using Command = std::function<int(const CommandHost& host)>;

    int prepareApplication();
    bool isApplicationReady();
    int makeImage();
    QString knownImage(const QString& application) const;
    int verifyImage();

    int build(const QString& application);
    int sign(ShipStep step, const QString& path, const QString& input);
    int notarize(ShipStep step, const QString& path, const QString& input);
    int run(const QString& name, const Command& command);
    void keep(ShipStep step);
    void follow(const QString& name, const QJsonObject& event);
    void save(ShipStep step, const ShipRecord& record);
    int conclude(int status);

    Shipment m_shipment;
    const CommandHost& m_host;
    CommandReport& m_report;
    ShipLedger m_ledger;
    QString m_step; // its name
    QJsonObject m_result; // of the step
    QString m_said; // in the step's findings
    QJsonObject m_fault; // the first of them that is one
    std::function<void(const QString& submission)> m_onSubmission;
};
