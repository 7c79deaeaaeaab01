#include "cli/ShipRun.h"

#include "cli/BuildCommand.h"
#include "cli/ContentHash.h"
#include "cli/InnerCommand.h"
#include "cli/InspectCommand.h"
#include "cli/NotarizeCommand.h"
#include "cli/Rehearsal.h"
#include "cli/SignCommand.h"
#include "cli/SignatureFacts.h"
#include "cli/VerifyCommand.h"
#include "platform/Clock.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QString verifyStep = u"verify-image"_s;
const QString inspectStep = u"inspect-application"_s;

/// Whether the service has refused what was submitted.
bool isRefusal(const QString& said)
{
    return said.contains("status: Invalid"_L1) || said.contains("status: Rejected"_L1);
}

/// Whether the service doesn't know the submission that it was asked about.
bool isForgotten(const QString& said)
{
    return said.contains("not found"_L1) || said.contains("knows no submission"_L1)
        || said.contains("status code: 404"_L1);
}

} // namespace

ShipRun::ShipRun(Shipment shipment, const CommandHost& host, CommandReport& report)
    : m_shipment(std::move(shipment))
    , m_host(host)
    , m_report(report)
    , m_ledger(m_shipment.image)
{ }

int ShipRun::exec()
{
    int status = ExitStatus::interrupted;
    if (m_ledger.wasDamaged())
        m_report.progress(u"“%1” is damaged; starting over."_s.arg(m_ledger.path()));
    try {
        status = prepareApplication();
        if (status == ExitStatus::done)
            status = makeImage();
        if (status == ExitStatus::done)
            status = verifyImage();
    } catch (const Interrupted&) {
        // Said below.
    }
    return conclude(status);
}

/// Leaves the application signed, notarized and stapled.
int ShipRun::prepareApplication()
{
    const QString& path = m_shipment.application;
    QString hash = contentHash(path);
    const ShipRecord signature = m_ledger.at(ShipStep::signApplication);
    const ShipRecord ticket = m_ledger.at(ShipStep::notarizeApplication);
    const bool isOurs = signature.means == m_shipment.identity.sha1 || signature.means.isEmpty();
    const bool isNotarized = isOurs && ticket.output == hash && ticket.means == m_shipment.profile;
    if (isNotarized || (isOurs && isApplicationReady())) {
        keep(ShipStep::signApplication);
        keep(ShipStep::notarizeApplication);
        if (!isNotarized) {
            save(ShipStep::notarizeApplication,
                {signature.output, m_shipment.profile, ticket.submission, contentHash(path), {}});
        }
        return ExitStatus::done;
    }

    const bool isSigned =
        !signature.means.isEmpty() && isOurs && (hash == signature.output || hash == ticket.output);
    int status = ExitStatus::done;
    if (isSigned)
        keep(ShipStep::signApplication);
    else
        status = sign(ShipStep::signApplication, path, hash);
    if (status != ExitStatus::done)
        return status;
    hash = m_ledger.at(ShipStep::signApplication).output;
    return notarize(ShipStep::notarizeApplication, path, hash);
}

/// Whether somebody else, or a run that was killed before it could write it down, has done it all
/// with the same identity. What is known to be in the name of another profile doesn't count.
bool ShipRun::isApplicationReady()
{
    const QString profile = m_ledger.at(ShipStep::notarizeApplication).means;
    if (!profile.isEmpty() && profile != m_shipment.profile)
        return false;
    const QString& path = m_shipment.application;
    if (signatureFacts(path, m_host).authority != m_shipment.identity.name)
        return false;
    const InspectOptions options{path.toStdString(), true};
    const int status = run(inspectStep,
        [&options](const CommandHost& host) { return runInspectCommand(options, host); });
    if (status == ExitStatus::interrupted)
        throw Interrupted();
    // A rehearsal's ticket is good for the rehearsal's profile alone.
    return status == ExitStatus::done && (!isRehearsal(m_said) || profile == m_shipment.profile);
}

/// Leaves an image with the application as it is now, signed, notarized and stapled.
int ShipRun::makeImage()
{
    const QString& path = m_shipment.image;
    const QString application = contentHash(m_shipment.application);
    const QString hash = knownImage(application);
    const bool isBuilt = !hash.isEmpty();
    const bool isSigned = isBuilt && hash != m_ledger.at(ShipStep::buildImage).output;
    const ShipRecord ticket = m_ledger.at(ShipStep::notarizeImage);
    const bool isNotarized =
        isSigned && hash == ticket.output && ticket.means == m_shipment.profile;

    int status = ExitStatus::done;
    if (isBuilt)
        keep(ShipStep::buildImage);
    else
        status = build(application);
    if (isSigned)
        keep(ShipStep::signImage);
    else if (status == ExitStatus::done)
        status = sign(ShipStep::signImage, path, m_ledger.at(ShipStep::buildImage).output);
    if (isNotarized)
        keep(ShipStep::notarizeImage);
    else if (status == ExitStatus::done)
        status = notarize(ShipStep::notarizeImage, path, m_ledger.at(ShipStep::signImage).output);
    return status;
}

/// The hash of the image as the ledger knows it, where it is of this application and look and was
/// changed by nobody but the steps; empty otherwise.
QString ShipRun::knownImage(const QString& application) const
{
    const ShipRecord built = m_ledger.at(ShipStep::buildImage);
    const ShipRecord signature = m_ledger.at(ShipStep::signImage);
    const ShipRecord ticket = m_ledger.at(ShipStep::notarizeImage);
    const QString hash = contentHash(m_shipment.image);
    if (hash.isEmpty() || built.input != application || built.means != m_shipment.look)
        return {};
    if (hash == built.output)
        return hash;
    if (signature.input != built.output || signature.means != m_shipment.identity.sha1)
        return {};
    if (hash == signature.output || (ticket.input == signature.output && hash == ticket.output))
        return hash;
    // It got its ticket, and nothing lived to write that down.
    const bool isSame = !signature.code.isEmpty()
        && signatureFacts(m_shipment.image, m_host).code == signature.code;
    return isSame ? signature.output : QString();
}

int ShipRun::verifyImage()
{
    const VerifyOptions options{m_shipment.image.toStdString(), true, m_shipment.build.quiet};
    return run(verifyStep,
        [&options](const CommandHost& host) { return runVerifyCommand(options, host); });
}

int ShipRun::build(const QString& application)
{
    const int status = run(nameOf(ShipStep::buildImage),
        [this](const CommandHost& host) { return runBuildCommand(m_shipment.build, host); });
    if (status == ExitStatus::done) {
        save(ShipStep::buildImage,
            {application, m_shipment.look, {}, contentHash(m_shipment.image), {}});
    }
    return status;
}

int ShipRun::sign(ShipStep step, const QString& path, const QString& input)
{
    const SignOptions options{path.toStdString(), m_shipment.identity.sha1.toStdString(), false,
        true, m_shipment.build.quiet};
    const int status = run(nameOf(step),
        [&options](const CommandHost& host) { return runSignCommand(options, host); });
    if (status == ExitStatus::done) {
        save(step,
            {input, m_shipment.identity.sha1, {}, contentHash(path),
                signatureFacts(path, m_host).code});
    }
    return status;
}

/// Goes on with an earlier submission of the same input, where there is one without an end.
int ShipRun::notarize(ShipStep step, const QString& path, const QString& input)
{
    ShipRecord record = m_ledger.at(step);
    const bool resumes = record.input == input && record.means == m_shipment.profile
        && record.output.isEmpty() && !record.submission.isEmpty();
    NotarizeOptions options{path.toStdString(), m_shipment.profile.toStdString(), std::nullopt,
        true, m_shipment.build.quiet};
    if (resumes)
        options.submission = record.submission.toStdString();
    else
        record = {input, m_shipment.profile, {}, {}, {}};

    m_onSubmission = [&](const QString& submission) {
        record.submission = submission;
        save(step, record);
    };
    const int status = run(nameOf(step),
        [&options](const CommandHost& host) { return runNotarizeCommand(options, host); });
    m_onSubmission = {};
    if (status == ExitStatus::done) {
        record.output = contentHash(path);
        save(step, record);
        return status;
    }
    const QString said = m_result[u"said"_s].toString();
    const bool startsOver = resumes && isForgotten(said);
    if (startsOver || isRefusal(said)) {
        record.submission.clear();
        save(step, record);
    }
    return startsOver ? notarize(step, path, input) : status;
}

int ShipRun::run(const QString& name, const Command& command)
{
    m_step = name;
    m_result = {};
    m_said.clear();
    m_fault = {};
    m_report.progress(u"Step: "_s + name);
    m_report.event(u"step"_s, {{u"step"_s, name}, {u"state"_s, u"started"_s}});
    return InnerCommand::run(
        m_host, [this, name](const QJsonObject& event) { follow(name, event); }, command);
}

void ShipRun::keep(ShipStep step)
{
    m_report.event(u"step"_s, {{u"step"_s, nameOf(step)}, {u"state"_s, u"kept"_s}});
    m_report.progress(u"Kept: %1 (nothing has changed)"_s.arg(nameOf(step)));
}

void ShipRun::follow(const QString& name, const QJsonObject& event)
{
    const QString kind = event[u"event"_s].toString();
    if (kind == "result"_L1) {
        m_result = event;
        return;
    }
    if (kind == "submission"_L1 && m_onSubmission)
        m_onSubmission(event[u"submission"_s].toString());
    if (kind == "check"_L1) {
        m_said += event[u"said"_s].toString() + u'\n';
        if (event[u"state"_s] == u"failed"_s && m_fault.isEmpty())
            m_fault = event;
    }
    QJsonObject passedOn = event;
    passedOn[u"step"_s] = name;
    m_report.event(kind, passedOn);
}

void ShipRun::save(ShipStep step, const ShipRecord& record)
{
    m_ledger.record(step, record, m_host.clock.now());
}

int ShipRun::conclude(int status)
{
    QJsonObject fields{{u"path"_s, m_shipment.image}, {u"application"_s, m_shipment.application},
        {u"ledger"_s, m_ledger.path()}};
    if (status == ExitStatus::done) {
        fields[u"rehearsal"_s] = m_result[u"rehearsal"_s];
        m_report.progress(readyLine(m_result[u"rehearsal"_s].toBool()));
        m_report.finished(m_shipment.image, fields);
        return status;
    }
    if (status == ExitStatus::failed && m_step == verifyStep) {
        m_report.failed(
            {u"the image is not ready for distribution"_s, m_fault[u"title"_s].toString(), {},
                m_fault[u"said"_s].toString(), m_fault[u"remedy"_s].toString()});
        return status;
    }
    for (const QString& key : {u"tool"_s, u"said"_s, u"remedy"_s}) {
        if (m_result.contains(key))
            fields[key] = m_result[key];
    }
    fields[u"step"_s] = m_step;
    m_report.progress(u"Stopped at %1; the same command goes on from there."_s.arg(m_step));
    if (status == ExitStatus::interrupted)
        m_report.event(u"result"_s, {{u"status"_s, u"interrupted"_s}, {u"step"_s, m_step}});
    else
        m_report.objected({}, fields);
    return status;
}
