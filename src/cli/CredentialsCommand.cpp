#include "cli/CredentialsCommand.h"

#include "cli/CommandReport.h"
#include "cli/Rehearsal.h"
#include "cli/ToolSession.h"
#include "cli/UsageError.h"
#include "notarization/NotaryError.h"
#include "notarization/NotaryToolClient.h"
#include "platform/LaunchError.h"

#include <CLI/CLI.hpp>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

QString text(const std::optional<std::string>& typed)
{
    return typed ? QString::fromStdString(*typed) : QString();
}

/// Credentials that are complete: those of an account or those of a key.
struct Credentials {
    QString profile;
    bool isKey = false;
    QString appleId, teamId, password;
    QString keyFile, keyId, issuer;
};

Credentials ofKey(const CredentialsOptions& options)
{
    if (!options.keyFile || !options.keyId || options.appleId || options.teamId)
        throw UsageError(u"a key needs --key and --key-id, and no account"_s);
    const QFileInfo file(
        QDir::current().absoluteFilePath(QFile::decodeName(options.keyFile->c_str())));
    if (!file.isFile() || !file.isReadable())
        throw UsageError(u"--key: “%1” is not a readable file"_s.arg(file.filePath()));
    return {.profile = text(options.profile),
        .isKey = true,
        .appleId = {},
        .teamId = {},
        .password = {},
        .keyFile = file.filePath(),
        .keyId = text(options.keyId),
        .issuer = text(options.issuer)};
}

Credentials ofAccount(const CredentialsOptions& options, const CommandHost& host)
{
    if (!options.appleId || !options.teamId) {
        throw UsageError(u"name a key with --key, --key-id and --issuer, or an account with "
                         u"--apple-id and --team-id"_s);
    }
    const std::optional<QString> password = host.readSecret(u"App-specific password: "_s);
    if (!password)
        throw UsageError(u"there is no password on the standard input"_s);
    Credentials credentials;
    credentials.profile = text(options.profile);
    credentials.appleId = text(options.appleId);
    credentials.teamId = text(options.teamId);
    credentials.password = *password;
    return credentials;
}

QCoro::Task<> store(ToolRunner& tools, Credentials credentials)
{
    if (credentials.isKey) {
        return NotaryToolClient::storeKey(
            tools, credentials.profile, credentials.keyFile, credentials.keyId, credentials.issuer);
    }
    return NotaryToolClient::storeCredentials(
        tools, credentials.profile, credentials.appleId, credentials.teamId, credentials.password);
}

/// One action, and its end in the report.
class Action {
public:
    Action(ToolSession& session, QString profile, CommandReport& report)
        : m_session(session)
        , m_profile(std::move(profile))
        , m_report(report)
    { }

    QCoro::Task<int> store(Credentials credentials);
    QCoro::Task<int> verify();

private:
    struct Step {
        QString name;
        QString onInterruption; // how things are then
        QString remedy{};
    };
    int fail(const Step& step, const QString& said);

    ToolSession& m_session;
    QString m_profile;
    CommandReport& m_report;
};

QCoro::Task<int> Action::store(Credentials credentials)
{
    const Step step{u"storing the credentials"_s, u"the credentials may be stored or not."_s,
        u"See that the network is there, and that the account, team and password, or the key, its "
        u"id and its issuer, belong together."_s};
    bool isLocal = false;
    try {
        co_await ::store(m_session.tools(), credentials);
        if (!credentials.isKey) {
            const QString history =
                co_await NotaryToolClient::verifyCredentials(m_session.tools(), m_profile);
            isLocal = isRehearsal(history);
        }
    } catch (const NotaryError& error) {
        co_return fail(step, error.description());
    } catch (const LaunchError& error) {
        co_return fail(step, QString::fromUtf8(error.what()));
    }
    if (isLocal) {
        m_report.progress(u"This host's notary tool can't submit with an Apple ID. What is "
                          u"submitted with “%1” is judged by this machine's own authority, not by "
                          u"Apple; for Apple's service store a key."_s.arg(m_profile));
    }
    m_report.finished(m_profile, {{u"profile"_s, m_profile}, {u"rehearsal"_s, isLocal}});
    co_return ExitStatus::done;
}

QCoro::Task<int> Action::verify()
{
    const Step step{u"asking the notary service"_s, u"nothing was changed."_s,
        u"Store the credentials with “vandor credentials store”, and see that the network is "
        u"there."_s};
    QString history;
    try {
        history = co_await NotaryToolClient::verifyCredentials(m_session.tools(), m_profile);
    } catch (const NotaryError& error) {
        co_return fail(step, error.description());
    } catch (const LaunchError& error) {
        co_return fail(step, QString::fromUtf8(error.what()));
    }
    m_report.finished(
        history.trimmed(), {{u"profile"_s, m_profile}, {u"said"_s, history.trimmed()}});
    co_return ExitStatus::done;
}

int Action::fail(const Step& step, const QString& said)
{
    const QString tool = u"/usr/bin/xcrun"_s;
    if (m_session.isInterrupted()) {
        m_report.interrupted(step.onInterruption);
        return ExitStatus::interrupted;
    }
    m_report.failed({u"the credentials don't work"_s, step.name, tool, said,
        m_session.remedy(tool, step.remedy)});
    return ExitStatus::failed;
}

} // namespace

void CredentialsOptions::addTo(CLI::App& command)
{
    const auto add = [](CLI::App* action, const char* name, auto& value, const char* type,
                         const char* text) {
        action->add_option(name, value, text)->type_name(type);
    };
    command.require_subcommand(1);
    store = command.add_subcommand("store", "Store credentials under a name");
    add(store, "--key", keyFile, "FILE", "A key of the service's programming interface (.p8)");
    add(store, "--key-id", keyId, "ID", "The key's identifier");
    add(store, "--issuer", issuer, "UUID", "The team's issuer identifier");
    add(store, "--apple-id", appleId, "ACCOUNT",
        "An account; its app-specific password is read from the standard input");
    add(store, "--team-id", teamId, "ID", "The account's team");
    verify = command.add_subcommand("verify", "Ask the notary service whether it knows them");
    for (CLI::App* const action : {store, verify}) {
        action->add_option("NAME", profile, "The name that submissions use")
            ->required()
            ->type_name("");
        action->add_flag("--json", json, "Write the result as JSON");
    }
}

int runCredentialsCommand(const CredentialsOptions& options, const CommandHost& host)
{
    CommandReport report(host.results, host.messages, {u"credentials"_s, options.json});
    try {
        Credentials credentials;
        if (options.store->parsed()) {
            const bool isKey = options.keyFile || options.keyId || options.issuer;
            credentials = isKey ? ofKey(options) : ofAccount(options, host);
        }
        ToolSession session(host);
        Action action(session, text(options.profile), report);
        return session.exec(
            [&] { return options.store->parsed() ? action.store(credentials) : action.verify(); });
    } catch (const UsageError& error) {
        report.misused(QString::fromUtf8(error.what()));
        return ExitStatus::misused;
    }
}
