#include "notarization/VerificationManager.h"

#include "notarization/NotaryCommands.h"
#include "platform/Paths.h"
#include "process/ShellRunner.h"

using namespace Qt::StringLiterals;

VerificationManager::VerificationManager(ShellRunner& shell, QObject* parent)
    : QObject(parent)
    , m_shell(shell)
{ }

bool VerificationManager::isReadyForDistribution() const
{
    return m_gatekeeperState == GatekeeperState::accepted()
        && m_authorityState == AuthorityState::appleNotarized;
}

QCoro::Task<> VerificationManager::verify(QUrl image)
{
    const Run run(this, ++m_project); // an earlier one says nothing any more
    ShellRunner& shell = m_shell;
    const QString path = pathOf(image);
    publish(m_gatekeeperState, GatekeeperState::verifying(),
        &VerificationManager::gatekeeperStateChanged);
    publish(m_authorityState, AuthorityState::unknown, &VerificationManager::authorityStateChanged);
    publish(m_logs, {}, &VerificationManager::logsChanged);
    run.say(u"Staring Deep Verification for %1...\n"_s.arg(lastPathComponent(image)));

    const Assessment installation =
        co_await assess(run, shell, NotaryCommands::assessInstallation(path));
    VerificationManager* const self = run.manager();
    if (!self)
        co_return;
    self->grade(installation);
    if (self->m_gatekeeperState != GatekeeperState::accepted())
        co_return;
    run.say(u"\nVerifying Disk Image Context...\n"_s);
    co_await assess(run, shell, NotaryCommands::assessImage(path));
}

QCoro::Task<VerificationManager::Assessment> VerificationManager::assess(
    Run run, ShellRunner& shell, QString command)
{
    Assessment result;
    OutputSequence output = shell.runStreaming(command);
    while (const std::optional<QString> piece = co_await output.next()) {
        run.say(*piece + u'\n');
        result.output += *piece + u'\n';
        if (piece->contains("accepted"_L1) && piece->contains("source="_L1))
            result.isAccepted = true;
    }
    co_return result;
}

void VerificationManager::grade(const Assessment& assessment)
{
    const auto setGatekeeper = [this](const GatekeeperState& state) {
        publish(m_gatekeeperState, state, &VerificationManager::gatekeeperStateChanged);
    };
    const auto setAuthority = [this](AuthorityState state) {
        publish(m_authorityState, state, &VerificationManager::authorityStateChanged);
    };
    if (!assessment.isAccepted) {
        setGatekeeper(GatekeeperState::rejected(u"Assessment failed"_s));
        setAuthority(AuthorityState::unsignedCode);
        append(u"❌ Gatekeeper Assessment Failed\n"_s);
        return;
    }
    setGatekeeper(GatekeeperState::accepted());
    if (assessment.output.contains("source=Notarized Developer ID"_L1)) {
        setAuthority(AuthorityState::appleNotarized);
        append(u"✅ Authority: Apple Notarized (Highest Trust)\n"_s);
    } else if (assessment.output.contains("source=Developer ID"_L1)) {
        setAuthority(AuthorityState::developerId);
        append(u"⚠️ Authority: Developer ID (Signed but not Notarized?)\n"_s);
    }
}

void VerificationManager::clear()
{
    ++m_project;
    publish(m_gatekeeperState, GatekeeperState::unknown(),
        &VerificationManager::gatekeeperStateChanged);
    publish(m_authorityState, AuthorityState::unknown, &VerificationManager::authorityStateChanged);
    publish(m_logs, {}, &VerificationManager::logsChanged);
}

void VerificationManager::append(const QString& text)
{
    m_logs += text;
    emit logsChanged();
    emit messageLogged(text);
}

template <class Value>
void VerificationManager::publish(
    Value& field, const Value& value, void (VerificationManager::*changed)())
{
    if (field == value)
        return;
    field = value;
    emit(this->*changed)();
}
