#include "notarization/AppNotarizationManager.h"

#include "notarization/NotaryCommands.h"
#include "notarization/NotaryService.h"
#include "platform/FileOperations.h"
#include "platform/Paths.h"
#include "platform/PlatformError.h"
#include "process/ShellQuoting.h"
#include "process/ShellRunner.h"

using namespace Qt::StringLiterals;

namespace {

void removeIfThere(const QString& file)
{
    try {
        FileOperations::removeFile(file);
    } catch (const PlatformError&) {
        // Most often there is none; a real obstacle shows when the archive is written.
    }
}

/// What a tool said, or how it failed.
struct Answer {
    QString output;
    std::optional<ShellError> failure;

    bool hasRun() const { return !failure || failure->which() == ShellError::Case::commandFailed; }
};

QCoro::Task<Answer> ask(ShellRunner& shell, QString command)
{
    Answer answer;
    try {
        answer.output = co_await shell.runSync(withErrors(command));
    } catch (const ShellError& error) {
        answer.failure = error;
    }
    co_return answer;
}

} // namespace

AppNotarizationManager::AppNotarizationManager(NotarizationHost host, QObject* parent)
    : NotarizationState(host.defaults, parent)
    , m_host(std::move(host))
{ }

QCoro::Task<> AppNotarizationManager::notarize(QUrl application, CancellationHandle cancellation)
{
    if (!start())
        co_return;
    const Run run(this, project());
    co_await finish(run,
        archiveAndSubmit(
            run, m_host, m_archives, application, profileName(), std::move(cancellation)));
}

QCoro::Task<> AppNotarizationManager::archiveAndSubmit(Run run, NotarizationHost host,
    ArchivePlace::Taken archives, QUrl application, QString profile,
    CancellationHandle cancellation)
{
    const NotaryService::Log log = [run](const QString& message) { run.say(message + u'\n'); };
    const QString name = lastPathComponent(application);
    const ArchivePlace place(std::move(archives), host.temporaryFolder, name);
    const QString& zip = place.path();
    run.say(u"Staring App Notarization for %1...\n"_s.arg(name));
    run.say(u"Creating temporary Zip archive...\n"_s);
    removeIfThere(zip);
    co_await host.shell.runSync(NotaryCommands::archive(pathOf(application), zip));

    run.say(u"✅ Zip created at: %1\n"_s.arg(zip));
    run.say(u"Submitting to Apple Notarization Service...\n"_s);
    co_await host.service.submit(QUrl::fromLocalFile(zip), profile, log, cancellation);

    run.say(u"✅ Notarization Accepted!\n"_s);
    run.say(u"Stapling ticket to App Bundle...\n"_s);
    co_await host.service.staple(application, log);

    run.say(u"✅ Stapling Successful!\n"_s);
    run.say(u"App is ready for DMG creation.\n"_s);
    removeIfThere(zip);
}

QCoro::Task<> AppNotarizationManager::preflight(QUrl application)
{
    if (isProcessing())
        co_return;
    const Run run(this, project());
    ShellRunner& shell = m_host.shell;
    begin();
    run.say(u"🔍 Starting Pre-flight Inspection for %1...\n"_s.arg(lastPathComponent(application)));
    if (!co_await checkSignature(run, shell, pathOf(application)))
        co_return;
    co_await checkNotarization(run, shell, pathOf(application));
    const bool isStapled = co_await checkStaple(run, shell, pathOf(application));
    NotarizationState* const self = run.manager();
    if (self && isStapled)
        self->setNotarizationSuccess(true);
    else if (self && !self->notarizationSuccess())
        run.say(u"\n⚠️ App is not fully ready. Please complete Notarization.\n"_s);
}

QCoro::Task<bool> AppNotarizationManager::checkSignature(Run run, ShellRunner& shell, QString path)
{
    run.say(u"\n--- 1. Checking Signature & Timestamp ---\n"_s);
    const Answer answer = co_await ask(shell, NotaryCommands::describeSignature(path));
    if (answer.failure) {
        run.say(u"❌ Signature Check Error: %1\n"_s.arg(answer.failure->description()));
        co_return false;
    }
    run.say(answer.output + u'\n');
    const bool hasTimestamp = answer.output.contains("Timestamp"_L1);
    if (!hasTimestamp) {
        run.say(u"❌ Verification Failed: 'Timestamp' field not found in signature.\n"_s);
    }
    co_return hasTimestamp;
}

QCoro::Task<> AppNotarizationManager::checkNotarization(Run run, ShellRunner& shell, QString path)
{
    run.say(u"\n--- 2. Checking Notarization ---\n"_s);
    const Answer answer = co_await ask(shell, NotaryCommands::assessInstallation(path));
    if (!answer.hasRun()) {
        run.say(u"❌ spctl Error: %1\n"_s.arg(answer.failure->description()));
    } else if (answer.failure) {
        run.say(u"⚠️ spctl returned error (common if not stapled/offline):\n"_s);
        run.say(answer.failure->text() + u'\n');
    } else {
        run.say(answer.output + u'\n');
        if (!answer.output.contains("source=Notarized Developer ID"_L1)) {
            run.say(u"⚠️ 'source=Notarized Developer ID' not found. "
                    u"Checking Staple might clarify.\n"_s);
        }
    }
}

QCoro::Task<bool> AppNotarizationManager::checkStaple(Run run, ShellRunner& shell, QString path)
{
    run.say(u"\n--- 3. Checking Staple ---\n"_s);
    const Answer answer = co_await ask(shell, NotaryCommands::validateStaple(path));
    if (!answer.hasRun()) {
        run.say(u"❌ Stapler Error: %1\n"_s.arg(answer.failure->description()));
        co_return false;
    }
    run.say((answer.failure ? answer.failure->text() : answer.output) + u'\n');
    const bool isStapled =
        !answer.failure && answer.output.contains("The validate action worked!"_L1);
    if (isStapled) {
        run.say(u"\n✅ Staple Verification Passed.\n"_s);
        run.say(u"\n🎉 Application is fully Signed, Notarized, and Stapled.\n"_s);
    } else {
        run.say(u"\n❌ Staple Verification Failed.\n"_s);
    }
    co_return isStapled;
}
