#include "cli/IdentitiesCommand.h"

#include "cli/CommandReport.h"
#include "cli/SigningSession.h"

#include <CLI/CLI.hpp>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

const QString security = u"/usr/bin/security"_s;

CommandFailure failedScan(const QString& reason, const SigningSession& session)
{
    return {u"the identities were not listed"_s, u"asking the keychain"_s, security, reason,
        session.remedy(security, u"See that the keychain can be read, then try again."_s)};
}

QCoro::Task<int> list(SigningSession& session, CommandReport& report)
{
    const std::optional<QString> failure = co_await session.scan();
    if (session.isInterrupted()) {
        report.interrupted(u"nothing was changed."_s);
        co_return ExitStatus::interrupted;
    }
    if (failure) {
        report.failed(failedScan(*failure, session));
        co_return ExitStatus::failed;
    }
    const SigningManager& manager = session.manager();
    for (const SigningIdentity& identity : manager.identities()) {
        const bool isSelected = identity.sha1 == manager.activeIdentitySHA1();
        report.item(u"identity"_s, identity.sha1 + u' ' + identity.name,
            {{u"sha1"_s, identity.sha1}, {u"name"_s, identity.name}, {u"selected"_s, isSelected}});
    }
    report.finished({}, {{u"count"_s, manager.identities().size()}});
    co_return ExitStatus::done;
}

} // namespace

void IdentitiesOptions::addTo(CLI::App& command)
{
    command.add_flag("--json", json, "Write identities and the result as JSON, one object a line");
}

int runIdentitiesCommand(const IdentitiesOptions& options, const CommandHost& host)
{
    CommandReport report(host.results, host.messages, {u"identities"_s, options.json});
    SigningSession session(host);
    QObject::connect(&session, &SigningSession::progressed, &session,
        [&report](const QString& message) { report.progress(message); });
    return session.exec([&] { return list(session, report); });
}
