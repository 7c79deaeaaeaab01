#include "build/DMGGenerator.h"

#include "build/BuildStep.h"
#include "build/BuildTools.h"
#include "build/DMGError.h"
#include "build/FinderLayoutScript.h"
#include "build/Workspace.h"
#include "model/SettingsManager.h"
#include "platform/Activation.h"
#include "platform/AppleScriptRunner.h"
#include "platform/Clock.h"
#include "platform/Console.h"
#include "platform/FileOperations.h"
#include "platform/Icons.h"
#include "platform/LaunchError.h"
#include "platform/MainQueue.h"
#include "platform/Paths.h"
#include "platform/ToolRunner.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// One build under way, with everything it needs. Lives in the frame of the coroutine that started
/// it, so that its steps may suspend whoever else goes.
class Build {
public:
    Build(BuildHost host, DMGConfig job, DMGGenerator::Progress progress,
        CancellationHandle cancellation, DMGGenerator::Share share)
        : m_host(std::move(host))
        , m_job(std::move(job))
        , m_progress(std::move(progress))
        , m_cancellation(std::move(cancellation))
        , m_share(std::move(share))
    { }

    QCoro::Task<> run();

private:
    QCoro::Task<> makeImage(const Workspace& workspace);

    QCoro::Task<> freeVolumeName();
    QCoro::Task<QString> mount(QString image);
    QCoro::Task<> setVolumeIcon(QString mountPoint);
    QCoro::Task<> styleWindow(QString mountPoint, std::optional<QString> backgroundPath);
    QCoro::Task<> compress(QString image);
    void setFileIcon();

    QCoro::Task<> runHdiutil(ToolCall call);
    QCoro::Task<> pause(std::chrono::milliseconds duration);
    void say(const QString& message);
    void begin(BuildStep step) { say(announcement(step).toString()); }

    BuildHost m_host;
    DMGConfig m_job;
    DMGGenerator::Progress m_progress;
    CancellationHandle m_cancellation;
    DMGGenerator::Share m_share;
};

void throwIfNotLaunched(const ToolOutcome& outcome)
{
    if (outcome.launchError)
        throw LaunchError(*outcome.launchError);
}

QCoro::Task<> Build::run()
{
    if (!m_job.appURL || !m_job.outputURL)
        throw DMGError(DMGError::Case::missingConfig);
    co_await freeVolumeName();

    begin(BuildStep::prepareWorkspace);
    Workspace workspace(m_host.temporaryFolder, m_host.stopCopies);

    std::exception_ptr failure;
    try {
        co_await makeImage(workspace);
    } catch (...) {
        failure = std::current_exception();
    }

    co_await workspace.remove();
    MainQueue::post(&Activation::bringToFront);
    if (failure)
        std::rethrow_exception(failure);
}

QCoro::Task<> Build::makeImage(const Workspace& workspace)
{
    begin(BuildStep::copyApplication);
    co_await workspace.copyApplication(*m_job.appURL);

    begin(BuildStep::linkApplications);
    workspace.linkApplications();

    std::optional<QString> backgroundPath;
    if (m_job.backgroundURL) {
        begin(BuildStep::copyBackground);
        backgroundPath = co_await workspace.copyBackground(*m_job.backgroundURL);
    }

    begin(BuildStep::createImage);
    co_await runHdiutil(BuildTools::createWritableImage(
        m_job.volumeName, workspace.sourceFiles(), workspace.writableImage()));

    begin(BuildStep::mount);
    const QString mountPoint = co_await mount(workspace.writableImage());
    // Halves what a build needs of the disk from here on, in a time that passes anyway.
    const QCoro::Task<> removal = workspace.removeSourceFiles();
    co_await pause(2s);
    co_await removal;

    begin(BuildStep::setVolumeIcon);
    co_await setVolumeIcon(mountPoint);

    begin(BuildStep::styleWindow);
    co_await styleWindow(mountPoint, backgroundPath);

    begin(BuildStep::flush);
    co_await m_host.tools.run(BuildTools::flushDisks());
    co_await pause(3s);

    begin(BuildStep::unmount);
    // A volume that stays mounted doesn't keep its image from being converted.
    co_await m_host.tools.run(BuildTools::eject(mountPoint));

    begin(BuildStep::compress);
    co_await compress(workspace.writableImage());

    begin(BuildStep::setFileIcon);
    setFileIcon();

    say(u"Done! DMG Saved to "_s + lastPathComponent(*m_job.outputURL));
}

QCoro::Task<> Build::freeVolumeName()
{
    const QString mountPoint = u"/Volumes/"_s + m_job.volumeName;
    if (!FileOperations::exists(m_host.root.hostPath(mountPoint)))
        co_return;

    const ToolOutcome outcome = co_await m_host.tools.run(BuildTools::unmountByForce(mountPoint));
    if (outcome.launchError) {
        throw DMGError(DMGError::Case::volumeEjectionFailed,
            u"Failed to launch diskutil: "_s + *outcome.launchError);
    }
    if (!outcome.succeeded()) {
        throw DMGError(DMGError::Case::volumeEjectionFailed,
            u"Could not unmount existing volume '"_s + m_job.volumeName
                + u"'. Please close any open files in this volume and try again.\nDetails: "_s
                + BuildTools::errorTextIn(outcome.error).trimmed());
    }
}

QCoro::Task<QString> Build::mount(QString image)
{
    const ToolOutcome outcome = co_await m_host.tools.run(BuildTools::attach(image));
    throwIfNotLaunched(outcome);
    if (!outcome.succeeded()) {
        throw DMGError(DMGError::Case::mountingFailed, BuildTools::errorTextIn(outcome.error));
    }
    const std::optional<QString> mountPoint = BuildTools::mountPointIn(outcome.output);
    if (!mountPoint) {
        throw DMGError(
            DMGError::Case::mountingFailed, u"Could not parse mount point from hdiutil output."_s);
    }
    co_return *mountPoint;
}

QCoro::Task<> Build::setVolumeIcon(QString mountPoint)
{
    std::optional<Icon> icon = m_host.icons.resource(u"AppIcon"_s);
    if (!icon)
        icon = m_host.icons.forFile(m_job.appURL->toLocalFile());
    if (icon && !m_host.icons.setCustomIcon(*icon, mountPoint)) {
        Console::write(u"Warning: NSWorkspace failed to set icon for volume at "_s + mountPoint);
    }
    co_await pause(1s);
    co_await m_host.tools.run(BuildTools::markCustomIcon(mountPoint));
}

QCoro::Task<> Build::styleWindow(QString mountPoint, std::optional<QString> backgroundPath)
{
    const ScriptOutcome outcome = co_await m_host.scripts.run(
        finderLayoutScript(mountPoint, m_job.volumeName, m_job, backgroundPath));
    // Without an interpreter the volume keeps the Finder's own look.
    if (!outcome.created || !outcome.failed)
        co_return;

    Console::write(u"AppleScript Error: "_s + outcome.information);
    try {
        co_await runHdiutil(BuildTools::detach(mountPoint));
    } catch (const std::exception&) {
        // What the script said is what the user can do something about.
    }
    throw DMGError(
        DMGError::Case::scriptFailed, outcome.message.value_or(u"Unknown AppleScript Error"_s));
}

QCoro::Task<> Build::compress(QString image)
{
    const QString output = m_job.outputURL->toLocalFile();
    if (FileOperations::exists(output))
        co_await FileOperations::removeTree(output);

    const QString format = m_host.settings.defaultCompression();
    say(u"Using Compression Strategy: "_s + format);
    co_await runHdiutil(BuildTools::convert(image, format, output));
}

void Build::setFileIcon()
{
    const std::optional<Icon> icon = m_host.icons.forFile(m_job.appURL->toLocalFile());
    if (icon)
        m_host.icons.setCustomIcon(*icon, m_job.outputURL->toLocalFile());
}

QCoro::Task<> Build::runHdiutil(ToolCall call)
{
    // Through the queue, behind the message of the step that it belongs to.
    if (m_share)
        call.progress = [share = m_share](double done) { MainQueue::post([=] { share(done); }); };
    const ToolOutcome outcome = co_await m_host.tools.run(call);
    throwIfNotLaunched(outcome);
    if (!outcome.succeeded()) {
        const QString said = BuildTools::errorTextIn(outcome.error);
        Console::write(u"hdiutil error: "_s + said);
        throw DMGError(DMGError::Case::conversionFailed, said);
    }
}

QCoro::Task<> Build::pause(std::chrono::milliseconds duration)
{
    co_await m_host.clock.wait(duration, m_cancellation);
}

void Build::say(const QString& message)
{
    MainQueue::post([progress = m_progress, message] { progress(message); });
}

QCoro::Task<> build(BuildHost host, DMGConfig job, DMGGenerator::Progress progress,
    CancellationHandle cancellation, DMGGenerator::Share share)
{
    Build run(std::move(host), std::move(job), std::move(progress), std::move(cancellation),
        std::move(share));
    co_await run.run();
}

} // namespace

DMGGenerator::DMGGenerator(BuildHost host)
    : m_host(std::move(host))
{ }

QCoro::Task<> DMGGenerator::createDMG(
    DMGConfig job, Progress progress, CancellationHandle cancellation, Share share)
{
    return build(
        m_host, std::move(job), std::move(progress), std::move(cancellation), std::move(share));
}
