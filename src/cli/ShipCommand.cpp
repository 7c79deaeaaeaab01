#include "cli/ShipCommand.h"

#include "cli/CommandReport.h"
#include "cli/ContentHash.h"
#include "cli/IdentityChoice.h"
#include "cli/Interruption.h"
#include "cli/ProfileChoice.h"
#include "cli/ShipLock.h"
#include "cli/ShipRun.h"
#include "cli/SignatureFacts.h"
#include "cli/SigningSession.h"
#include "cli/UsageError.h"
#include "model/SettingsManager.h"
#include "platform/Clock.h"
#include "platform/PlatformError.h"
#include "platform/RetinaPicture.h"

#include <CLI/CLI.hpp>
#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace {

QString hashOfBackground(const QString& picture)
{
    const std::optional<QString> twice = RetinaPicture::doubleOf(picture);
    return contentHash(picture) + (twice ? contentHash(*twice) : QString());
}

QString lookOf(const DMGConfig& job, const QString& format)
{
    const auto place = [](const QPointF& point) { return QJsonArray{point.x(), point.y()}; };
    const QString background =
        job.backgroundURL ? hashOfBackground(job.backgroundURL->toLocalFile()) : QString();
    const QJsonObject look{{u"volumeName"_s, job.volumeName}, {u"format"_s, format},
        {u"background"_s, background},
        {u"backgroundName"_s, job.backgroundURL ? job.backgroundURL->fileName() : QString()},
        {u"window"_s, QJsonArray{job.windowWidth, job.windowHeight}},
        {u"application"_s, place(job.appIconPosition)},
        {u"applications"_s, place(job.appsSymlinkPosition)},
        {u"icons"_s, QJsonArray{job.iconSize, job.fontSize}}};
    return QString::fromLatin1(
        QCryptographicHash::hash(QJsonDocument(look).toJson(), QCryptographicHash::Sha256).toHex());
}

/// What the search for an identity to sign with came to.
struct Search {
    std::optional<QString> failure;
    QList<SigningIdentity> found;
    std::optional<SigningIdentity> remembered;
};

QCoro::Task<int> search(SigningSession& session, Search& result)
{
    result.failure = co_await session.scan();
    result.found = session.manager().identities();
    result.remembered = session.manager().selectedIdentity();
    co_return session.isInterrupted() ? ExitStatus::interrupted : ExitStatus::done;
}

/// Throws UsageError where nobody can sign, and Interrupted.
SigningIdentity identityFor(const ShipOptions& options, const CommandHost& host)
{
    Search result;
    SigningSession session(host);
    session.exec([&] { return search(session, result); });
    if (session.isInterrupted())
        throw Interrupted();
    if (result.found.isEmpty()) {
        throw UsageError(result.failure.value_or(
            u"there is no valid identity for signing code; “vandor identities” lists them"_s));
    }
    std::optional<QString> asked;
    if (options.identity)
        asked = QString::fromStdString(*options.identity);
    return chosenIdentity(result.found, asked, result.remembered);
}

Shipment shipmentOf(const ShipOptions& options, const CommandHost& host)
{
    const DMGConfig job = options.build.job(host.settings, host.clock.now());
    const QString format = options.build.formatCode(host.settings.defaultCompression());
    Shipment shipment;
    shipment.build = options.build;
    shipment.application = job.appURL->toLocalFile();
    shipment.image = job.outputURL->toLocalFile();
    shipment.look = lookOf(job, format);
    shipment.profile = chosenProfile(options.profile, host);
    shipment.identity = identityFor(options, host);
    shipment.build.application = shipment.application.toStdString();
    shipment.build.output = shipment.image.toStdString();
    shipment.build.json = true;
    return shipment;
}

} // namespace

void ShipOptions::addTo(CLI::App& command)
{
    build.addTo(command);
    command
        .add_option("--identity", identity,
            "The identity to sign with (default: the remembered one or the only one)")
        ->type_name("SHA1|NAME");
    command
        .add_option("--profile", profile,
            "The stored credentials to submit with (default: those used last)")
        ->type_name("NAME");
}

int runShipCommand(const ShipOptions& options, const CommandHost& host)
{
    CommandReport report(
        host.results, host.messages, {u"ship"_s, options.build.json, options.build.quiet});
    const Interruption throughout; // also between the steps, which listen for themselves
    try {
        const Shipment shipment = shipmentOf(options, host);
        const ShipLock lock(shipment.application, shipment.image);
        return ShipRun(shipment, host, report).exec();
    } catch (const UsageError& error) {
        report.misused(QString::fromUtf8(error.what()));
        return ExitStatus::misused;
    } catch (const Interrupted&) {
        report.interrupted(u"nothing was changed."_s);
        return ExitStatus::interrupted;
    } catch (const ShipLock::Taken& taken) {
        report.failed({u"nothing was shipped"_s, u"taking hold of the files"_s, {},
            u"Another run is at work on “%1”."_s.arg(QString::fromUtf8(taken.what())),
            u"Let it end, then run this again: what it has done is kept."_s});
        return ExitStatus::failed;
    } catch (const PlatformError& error) {
        report.failed({u"nothing was shipped"_s, u"keeping the ledger"_s, {}, error.description(),
            u"See that the application can be read, and that the output's folder can be written "
            u"to."_s});
        return ExitStatus::failed;
    }
}
