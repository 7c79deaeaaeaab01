#include "notarization/NotarizationManager.h"

#include "notarization/NotaryCommands.h"
#include "notarization/NotaryService.h"
#include "platform/Paths.h"
#include "process/ShellRunner.h"

using namespace Qt::StringLiterals;

NotarizationManager::NotarizationManager(NotarizationHost host, QObject* parent)
    : NotarizationState(host.defaults, parent)
    , m_host(host)
{ }

QCoro::Task<> NotarizationManager::notarize(QUrl image, CancellationHandle cancellation)
{
    if (!start())
        co_return;
    const Run run(this, project());
    co_await finish(
        run, submitAndStaple(run, m_host, image, profileName(), std::move(cancellation)));
}

QCoro::Task<> NotarizationManager::submitAndStaple(
    Run run, NotarizationHost host, QUrl image, QString profile, CancellationHandle cancellation)
{
    const NotaryService::Log log = [run](const QString& message) { run.say(message + u'\n'); };
    run.say(u"Staring Notarization for %1...\n"_s.arg(lastPathComponent(image)));
    run.say(u"Using Profile: \"%1\"\n"_s.arg(profile));
    run.say(u"This may take several minutes. Please wait.\n"_s);
    co_await host.service.submit(image, profile, log, cancellation);

    run.say(u"✅ Notarization Accepted!\n"_s);
    run.say(u"Stapling ticket to DMG...\n"_s);
    co_await host.service.staple(image, log);

    run.say(u"✅ Stapling Successful!\n"_s);
    run.say(u"Running Gatekeeper verification...\n"_s);
    run.say(u"[Gatekeeper] Running installation check...\n"_s);
    co_await follow(run, host.shell, NotaryCommands::assessInstallation(pathOf(image)));
    run.say(u"[Gatekeeper] Running disk image signature check...\n"_s);
    co_await follow(run, host.shell, NotaryCommands::assessImage(pathOf(image)));
    run.say(u"✅ Gatekeeper Verification Passed!\n"_s);
    run.say(u"Ready for distribution!\n"_s);
}

QCoro::Task<> NotarizationManager::follow(Run run, ShellRunner& shell, QString command)
{
    OutputSequence output = shell.runStreaming(command);
    while (const std::optional<QString> piece = co_await output.next())
        run.say(*piece + u'\n');
}
