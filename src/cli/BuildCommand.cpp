#include "cli/BuildCommand.h"

#include "cli/BuildOptions.h"
#include "cli/BuildRun.h"
#include "cli/FailureAdvice.h"
#include "cli/StagedOutput.h"
#include "cli/UsageError.h"
#include "model/SettingsManager.h"
#include "platform/Clock.h"
#include "platform/PlatformError.h"
#include "platform/UserDefaults.h"

using namespace Qt::StringLiterals;

int runBuildCommand(const BuildOptions& options, const CommandHost& host)
{
    BuildReport report(host.results, host.messages, {options.json, options.quiet});
    DMGConfig job;
    try {
        job = options.job(host.settings, host.clock.now());
        // Of this run alone: the user's own choice stays in the settings.
        host.defaults.setVolatile(
            u"default_compression"_s, options.formatCode(host.settings.defaultCompression()));
    } catch (const UsageError& error) {
        report.misused(QString::fromUtf8(error.what()));
        return ExitStatus::misused;
    }
    if (options.quiet)
        host.silenceTools();

    try {
        BuildRun run(job, host, report);
        if (!options.verbose)
            run.hideToolOutput();
        return run.exec();
    } catch (const PlatformError& error) {
        const bool isOutputs = StagedOutput::isStagingFolder(error.path());
        const FailureAdvice& advice =
            adviceFor(isOutputs ? BuildStep::setFileIcon : BuildStep::prepareWorkspace);
        report.failed(
            {advice.name.toString(), QString(), error.description(), advice.remedy.toString()});
        return ExitStatus::failed;
    }
}
