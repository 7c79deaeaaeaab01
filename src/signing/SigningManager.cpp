#include "signing/SigningManager.h"

#include "platform/HostToolRunner.h"
#include "platform/Paths.h"
#include "platform/UserDefaults.h"
#include "platform/Utf8.h"
#include "platform/WorkUnderWay.h"
#include "process/ShellRunner.h"
#include "signing/CodesignCommands.h"
#include "signing/IdentityScan.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The first lines of a log: what is signed with what.
QString heading(const QUrl& location, const SigningIdentity& identity)
{
    return u"Signing %1...\nIdentity: %2\n"_s.arg(lastPathComponent(location), identity.name);
}

} // namespace

const QString SigningManager::kSavedIdentitySHA1 = u"SavedSigningIdentitySHA1"_s;
const SigningManager::Log SigningManager::imageLog{
    &SigningManager::m_logs, &SigningManager::logsChanged, &SigningManager::m_project};
const SigningManager::Log SigningManager::appLog{&SigningManager::m_appSigningLogs,
    &SigningManager::appSigningLogsChanged, &SigningManager::m_application};

SigningManager::SigningManager(SigningHost host, QObject* parent)
    : QObject(parent)
    , m_host(host)
{ }

SigningManager& SigningManager::shared()
{
    static auto* const tools = new HostToolRunner(SystemRoot::host());
    static auto* const instance =
        new SigningManager({*tools, ShellRunner::shared(), UserDefaults::standard()});
    return *instance;
}

void SigningManager::fetchIdentities()
{
    publish(m_isScanning, true, &SigningManager::isScanningChanged);
    begin(imageLog, {});
    publish(m_identities, {}, &SigningManager::identitiesChanged);
    scan(this, m_host.tools);
}

QCoro::Task<> SigningManager::scan(QPointer<SigningManager> manager, ToolRunner& tools)
{
    const ToolCall call = findIdentities();
    const ToolOutcome outcome = co_await tools.run(call);
    if (manager)
        manager->finishScan(outcome);
}

void SigningManager::finishScan(const ToolOutcome& outcome)
{
    if (outcome.launchError) {
        append(imageLog, u"Error fetching identities: "_s + *outcome.launchError + u'\n');
        emit scanFailed(*outcome.launchError);
    } else if (const std::optional<QString> text = textFromUtf8(outcome.output)) {
        publish(m_identities, identitiesIn(*text), &SigningManager::identitiesChanged);
        restoreSelection();
        append(imageLog,
            m_identities.isEmpty() ? u"No valid signing identities found.\n"_s
                                   : u"Found %1 identities.\n"_s.arg(m_identities.size()));
    } else {
        emit scanFailed(u"The list of identities is not UTF-8 text."_s);
    }
    publish(m_isScanning, false, &SigningManager::isScanningChanged);
}

std::optional<SigningIdentity> SigningManager::rememberedIdentity() const
{
    const std::optional<QString> saved = m_host.defaults.string(kSavedIdentitySHA1);
    const auto found = std::ranges::find_if(
        m_identities, [&saved](const SigningIdentity& each) { return each.sha1 == saved; });
    return found == m_identities.end() ? std::nullopt : std::optional(*found);
}

void SigningManager::followRemembered()
{
    publish(m_selectedIdentity, rememberedIdentity(), &SigningManager::selectedIdentityChanged);
}

void SigningManager::restoreSelection()
{
    const std::optional<SigningIdentity> restored = rememberedIdentity();
    publish(m_selectedIdentity, restored, &SigningManager::selectedIdentityChanged);
    if (restored)
        append(imageLog, u"Restored saved identity: "_s + restored->name + u'\n');
}

void SigningManager::selectIdentity(const std::optional<SigningIdentity>& identity)
{
    if (identity)
        m_host.defaults.set(kSavedIdentitySHA1, identity->sha1);
    else
        m_host.defaults.remove(kSavedIdentitySHA1);
    publish(m_selectedIdentity, identity, &SigningManager::selectedIdentityChanged);
}

std::optional<QString> SigningManager::activeIdentitySHA1() const
{
    if (m_selectedIdentity)
        return m_selectedIdentity->sha1;
    return m_host.defaults.string(kSavedIdentitySHA1);
}

QCoro::Task<> SigningManager::signDMG(QUrl image, SigningIdentity identity)
{
    if (m_isSigning)
        co_return;
    const QPointer<SigningManager> self(this);
    const int project = m_project;
    const QString path = pathOf(image);
    publish(m_isSigning, true, &SigningManager::isSigningChanged);
    publish(m_signSuccess, false, &SigningManager::signSuccessChanged);
    begin(imageLog, {});
    append(imageLog, heading(image, identity));

    const std::optional<ShellError> failure =
        co_await signAndVerify(self, m_host.shell, CodesignCommands::signImage(identity.sha1, path),
            CodesignCommands::verify(path), imageLog, u"Verifying signature...\n"_s);
    if (self && m_project == project) {
        if (!failure) {
            append(imageLog, u"✅ Signing Successful!\n"_s);
            publish(m_signSuccess, true, &SigningManager::signSuccessChanged);
        }
        publish(m_isSigning, false, &SigningManager::isSigningChanged);
    }
    if (failure)
        throw *failure;
}

QCoro::Task<std::optional<ShellError>> SigningManager::signApp(
    QUrl application, SigningIdentity identity)
{
    if (m_isAppSigning)
        co_return std::nullopt;
    const QPointer<SigningManager> self(this);
    const QString path = pathOf(application);
    publish(m_isAppSigning, true, &SigningManager::isAppSigningChanged);
    begin(appLog, {});
    append(appLog, heading(application, identity));
    const int subject = m_application;

    const std::optional<ShellError> failure = co_await signAndVerify(self, m_host.shell,
        CodesignCommands::signApplication(identity.sha1, path), CodesignCommands::verify(path),
        appLog, u"Verifying app signature...\n"_s);
    if (self && m_application == subject && !failure) {
        append(appLog, u"✅ App Signing Successful!\n"_s);
        co_await checkAppSignature(application);
    }
    if (self)
        publish(m_isAppSigning, false, &SigningManager::isAppSigningChanged);
    co_return failure;
}

/// The signing command's own status is not judged: it may fail and leave a good signature, and the
/// other way round. Writes to the log all but a success.
QCoro::Task<std::optional<ShellError>> SigningManager::signAndVerify(
    QPointer<SigningManager> manager, ShellRunner& shell, QString signing, QString verification,
    Log log, QString announcement)
{
    const WorkUnderWay work;
    const auto hears = [&manager, &log, subject = manager.data()->*log.subject] {
        return manager && manager.data()->*log.subject == subject;
    };
    OutputSequence output = shell.runStreaming(signing);
    while (const std::optional<QString> piece = co_await output.next()) {
        if (hears())
            manager->append(log, *piece + u'\n');
    }
    if (hears())
        manager->append(log, announcement);
    std::optional<ShellError> failure;
    try {
        co_await shell.runSync(verification);
    } catch (const ShellError& error) {
        failure = error;
    }
    if (failure && hears())
        manager->append(log, u"❌ Verification Failed: "_s + failure->description() + u'\n');
    co_return failure;
}

QCoro::Task<> SigningManager::checkAppSignature(QUrl application)
{
    const QPointer<SigningManager> self(this);
    const QString path = pathOf(application);
    const int inspection = ++m_inspection;
    publish(m_isScanning, true, &SigningManager::isScanningChanged);
    begin(appLog, u"Inspecting "_s + lastPathComponent(application) + u"...\n"_s);

    SignatureFinding finding{
        AppSignatureStatus::unsignedCode(), u"⚠️ App appears unsigned or invalid."_s};
    try {
        finding = signatureIn(co_await m_host.shell.runSync(CodesignCommands::inspect(path)));
    } catch (const ShellError&) {
        // The finding stands: an inspection that fails is one of unsigned code.
    }
    if (!self)
        co_return;
    if (m_inspection == inspection) {
        publish(m_appSignatureStatus, finding.status, &SigningManager::appSignatureStatusChanged);
        append(appLog, finding.message + u'\n');
    }
    publish(m_isScanning, false, &SigningManager::isScanningChanged);
}

void SigningManager::setAppSignatureStatus(const AppSignatureStatus& status)
{
    ++m_inspection;
    publish(m_appSignatureStatus, status, &SigningManager::appSignatureStatusChanged);
}

void SigningManager::forgetApplication()
{
    ++m_application;
    setAppSignatureStatus(AppSignatureStatus::unknown());
}

void SigningManager::setAppSigningLogs(const QString& text)
{
    publish(m_appSigningLogs, text, &SigningManager::appSigningLogsChanged);
}

void SigningManager::clear()
{
    ++m_project;
    begin(imageLog, {});
    publish(m_isSigning, false, &SigningManager::isSigningChanged);
    publish(m_signSuccess, false, &SigningManager::signSuccessChanged);
}

/// Replaces a log.
void SigningManager::begin(const Log& log, const QString& text)
{
    publish(this->*log.text, text, log.changed);
    if (!text.isEmpty())
        emit messageLogged(text);
}

void SigningManager::append(const Log& log, const QString& text)
{
    this->*log.text += text;
    emit(this->*log.changed)();
    emit messageLogged(text);
}

template <class Value>
void SigningManager::publish(Value& field, const Value& value, void (SigningManager::*changed)())
{
    if (field == value)
        return;
    field = value;
    emit(this->*changed)();
}
