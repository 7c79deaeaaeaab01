#include "cli/SignCommand.h"

#include "cli/CommandReport.h"
#include "cli/IdentityChoice.h"
#include "cli/SigningPlan.h"
#include "cli/SigningSession.h"
#include "cli/Subject.h"
#include "cli/UsageError.h"
#include "signing/CodesignCommands.h"

#include <CLI/CLI.hpp>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

const QString security = u"/usr/bin/security"_s;
const QString codesign = u"/usr/bin/codesign"_s;
const QString shell = u"/bin/zsh"_s;

/// One run of the command. Made for one subject; borrows the report.
class SignRun {
public:
    SignRun(const SignOptions& options, const CommandHost& host, CommandReport& report)
        : m_options(options)
        , m_subject(subjectAt(options.path))
        , m_report(report)
        , m_session(host)
    {
        QObject::connect(&m_session, &SigningSession::progressed, &m_session,
            [this](const QString& message) { follow(message); });
    }

    int exec()
    {
        return m_session.exec([this] { return sign(); });
    }

private:
    QString path() const { return m_subject.path(); }
    QString what() const
    {
        return m_subject.isImage() ? u"the image was not signed"_s
                                   : u"the application was not signed"_s;
    }

    QCoro::Task<int> sign();
    QCoro::Task<std::optional<ShellError>> signWith(SigningIdentity identity);
    void follow(QString message);
    bool hasSigned() const;
    int reportNoIdentity(const std::optional<QString>& failure);
    QCoro::Task<AppSignatureStatus> signatureNow();
    int reportFailure(const QString& reason);
    int reportSuccess(const SigningIdentity& identity, const AppSignatureStatus& signature);

    const SignOptions& m_options;
    Subject m_subject;
    CommandReport& m_report;
    SigningSession m_session;
    QStringList m_complaints; // what the signing tool said on standard error
};

QCoro::Task<int> SignRun::sign()
{
    const std::optional<QString> scanFailure = co_await m_session.scan();
    const SigningManager& manager = m_session.manager();
    if (!m_session.isInterrupted() && manager.identities().isEmpty())
        co_return reportNoIdentity(scanFailure);

    std::optional<ShellError> failure;
    SigningIdentity identity;
    if (!m_session.isInterrupted()) {
        std::optional<QString> asked;
        if (m_options.identity)
            asked = QString::fromStdString(*m_options.identity);
        try {
            identity = chosenIdentity(manager.identities(), asked, manager.selectedIdentity());
        } catch (const UsageError& error) {
            m_report.misused(QString::fromUtf8(error.what()));
            co_return ExitStatus::misused;
        }
        failure = co_await signWith(identity);
    }
    AppSignatureStatus signature;
    if (!m_session.isInterrupted() && !failure)
        signature = co_await signatureNow();
    if (m_session.isInterrupted()) {
        m_report.interrupted(u"“%1” may be signed or not."_s.arg(path()));
        co_return ExitStatus::interrupted;
    }
    if (failure)
        co_return reportFailure(failure->description());
    if (!hasSigned())
        co_return reportFailure(u"The signature on it is an older one."_s);
    co_return reportSuccess(identity, signature);
}

/// Whether the tool says so. A signing that failed may have left an older signature, by the same
/// identity even, and that verifies, too. Where the pieces of the tool's words end is chance.
bool SignRun::hasSigned() const
{
    const auto withoutBlanks = [](QString text) {
        text.removeIf([](QChar each) { return each.isSpace(); });
        return text;
    };
    return withoutBlanks(m_complaints.join(QString()))
        .contains(withoutBlanks(path() + ": signed"_L1));
}

QCoro::Task<AppSignatureStatus> SignRun::signatureNow()
{
    AppSignatureStatus status = m_session.manager().appSignatureStatus();
    if (m_subject.isImage()) { // of which the manager doesn't tell
        try {
            const QString command = CodesignCommands::inspect(path());
            const QString report = co_await m_session.shell().runSync(command);
            status = signatureIn(report).status;
        } catch (const ShellError&) {
            status = AppSignatureStatus::unsignedCode();
        }
    }
    co_return status;
}

QCoro::Task<std::optional<ShellError>> SignRun::signWith(SigningIdentity identity)
{
    std::optional<ShellError> failure;
    if (!m_subject.isImage()) {
        failure = co_await m_session.manager().signApp(m_subject.location, identity);
        co_return failure;
    }
    try {
        co_await m_session.manager().signDMG(m_subject.location, identity);
    } catch (const ShellError& error) {
        failure = error;
    }
    co_return failure;
}

void SignRun::follow(QString message)
{
    constexpr auto errorMark = "[ERR] "_L1;
    if (message.startsWith(errorMark)) {
        message.remove(0, errorMark.size()); // the tool writes all that it has to say there
        m_complaints += message;
    }
    m_report.progress(message);
}

int SignRun::reportNoIdentity(const std::optional<QString>& failure)
{
    m_report.failed({what(), u"finding an identity"_s, security,
        failure.value_or(u"There is no valid identity for signing code."_s),
        m_session.remedy(security,
            u"Import a Developer ID Application certificate together with its private key."_s)});
    return ExitStatus::failed;
}

int SignRun::reportFailure(const QString& reason)
{
    const bool hasShell = m_session.hasTool(shell);
    m_complaints += reason;
    m_report.failed({what(), u"signing"_s, hasShell ? codesign : shell, m_complaints.join(u'\n'),
        m_session.remedy(codesign,
            u"See that “%1” can be written to, and that “vandor identities” lists the "
            u"identity."_s.arg(path()))});
    return ExitStatus::failed;
}

int SignRun::reportSuccess(const SigningIdentity& identity, const AppSignatureStatus& signature)
{
    const QJsonObject fields{{u"path"_s, path()}, {u"kind"_s, m_subject.kindName()},
        {u"identity"_s, QJsonObject{{u"sha1"_s, identity.sha1}, {u"name"_s, identity.name}}},
        {u"authority"_s, signature.text}};
    m_report.finished(path(), fields);
    return ExitStatus::done;
}

} // namespace

void SignOptions::addTo(CLI::App& command)
{
    command.add_option("PATH", path, "The application bundle or the disk image")
        ->required()
        ->type_name("");
    command
        .add_option("--identity", identity,
            "The identity to sign with: its fingerprint, its name or a part of that "
            "(default: the remembered one or the only one)")
        ->type_name("SHA1|NAME");
    command.add_flag(
        "--plan", plan, "Print what would be done to each piece of code, and touch nothing");
    command.add_flag("--json", json, "Write events and the result as JSON, one object a line");
    command.add_flag("--quiet", quiet, "Write the result and failures only");
}

int runSignCommand(const SignOptions& options, const CommandHost& host)
{
    CommandReport report(host.results, host.messages, {u"sign"_s, options.json, options.quiet});
    try {
        if (options.plan)
            return runSigningPlan(subjectAt(options.path), host, report);
        SignRun run(options, host, report);
        if (options.quiet)
            host.silenceTools();
        return run.exec();
    } catch (const UsageError& error) {
        report.misused(QString::fromUtf8(error.what()));
        return ExitStatus::misused;
    }
}
