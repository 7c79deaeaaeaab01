#include "cli/BuildRun.h"

#include "cli/FailureAdvice.h"
#include "model/SettingsManager.h"
#include "platform/FileOperations.h"
#include "platform/PlatformError.h"
#include "platform/RetinaPicture.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

BuildRun::BuildRun(const DMGConfig& job, const CommandHost& host, BuildReport& report)
    : m_job(job)
    , m_host(host)
    , m_report(report)
    , m_output(job.outputURL->toLocalFile())
    , m_session(host.temporaryFolder)
    , m_root(host.rootForSession(m_session.stateFolder()))
    , m_tools(m_root)
    , m_scripts(m_tools)
    , m_hostIcons(m_root)
    , m_icons(m_hostIcons, m_output.path())
    , m_manager(BuildHost{m_root, m_tools, host.clock, m_scripts, m_icons, host.settings,
          m_session.workFolder(), m_stopCopies})
{
    m_session.alsoSweep(m_output.folder());
    m_job.outputURL = QUrl::fromLocalFile(m_output.path());
    connect(&m_interruption, &Interruption::requested, this, &BuildRun::interrupt);
    connect(&m_manager, &BuildManager::messageLogged, this, &BuildRun::follow);
    connect(&m_manager, &BuildManager::statusChanged, this, &BuildRun::followStatus);
}

int BuildRun::exec()
{
    m_time.start();
    takeBothResolutions();
    m_manager.startBuild(m_job);
    compareBackgroundWithWindow();
    m_sweep = SessionFolder::sweepLeftovers(m_host.temporaryFolder);
    return QCoreApplication::exec();
}

/// The pipeline copies the background as it is; so the file that holds both pictures becomes the
/// one that was chosen.
void BuildRun::takeBothResolutions()
{
    if (!m_job.backgroundURL)
        return;
    const QString picture = m_job.backgroundURL->toLocalFile();
    const std::optional<QString> twice = RetinaPicture::doubleOf(picture);
    if (!twice)
        return;
    const QString name = QFileInfo(picture).fileName();
    m_report.progress(u"Combining %1 with %2..."_s.arg(name, QFileInfo(*twice).fileName()));
    const QString folder = m_session.path() + u"/background/"_s;
    const QString both = folder + QFileInfo(picture).completeBaseName() + u".tiff"_s;
    try {
        FileOperations::createFolder(folder);
        RetinaPicture::combine(picture, *twice, both);
        m_job.backgroundURL = QUrl::fromLocalFile(both);
    } catch (const PlatformError& error) {
        m_report.warning(u"%1 is used alone. %2"_s.arg(name, error.description()));
    }
}

void BuildRun::compareBackgroundWithWindow()
{
    if (!m_job.backgroundURL)
        return;
    const QString picture = m_job.backgroundURL->toLocalFile();
    const std::optional<QSize> size = RetinaPicture::sizeInPoints(picture);
    if (!size || (size->width() == m_job.windowWidth && size->height() == m_job.windowHeight))
        return;
    m_report.warning(u"the background %1 is %2 x %3 points, the window %4 x %5; the Finder doesn't "
                     u"scale it."_s.arg(QFileInfo(picture).fileName())
                         .arg(size->width())
                         .arg(size->height())
                         .arg(m_job.windowWidth)
                         .arg(m_job.windowHeight));
}

void BuildRun::interrupt()
{
    if (!*m_stopCopies)
        m_manager.cancel();
    *m_stopCopies = true;
    m_tools.interrupt();
}

void BuildRun::follow(const QString& message)
{
    m_step = stepAnnouncedBy(message).value_or(m_step);
    // The log's own words on how the build ended; the report has better ones.
    if (!message.startsWith("\n[!]"_L1))
        m_report.progress(message.trimmed());
}

void BuildRun::followStatus()
{
    if (!m_manager.status().isBuilding())
        finish();
}

QCoro::Task<> BuildRun::finish()
{
    const int status = report();
    // Before the session, which is what a later run would know of it by.
    m_output.remove();
    co_await m_sweep;
    try {
        co_await m_session.remove();
    } catch (const PlatformError&) {
        // The next run sweeps it away.
    }
    QCoreApplication::exit(status);
}

int BuildRun::report()
{
    const BuildStatus status = m_manager.status();
    const bool hasFailed = status.which == BuildStatus::Case::failed;
    if (status.which == BuildStatus::Case::cancelled
        || (hasFailed && m_interruption.isRequested())) {
        m_report.interrupted();
        return ExitStatus::interrupted;
    }
    if (hasFailed)
        return reportFailure(m_step, status.text);
    try {
        m_output.place();
    } catch (const PlatformError& error) {
        return reportFailure(BuildStep::setFileIcon, error.description());
    }
    const QString path = m_output.target();
    m_icons.place(path);
    m_report.finished({path, QFileInfo(path).size(), static_cast<double>(m_time.elapsed()) / 1000,
        m_job.volumeName, m_host.settings.defaultCompression()});
    return ExitStatus::done;
}

int BuildRun::reportFailure(BuildStep step, const QString& said)
{
    QString text = withoutWorkFolders(said).trimmed();
    if (text.endsWith(u':'))
        text += u" the tool ended without a word; it may have been killed."_s;
    // That nothing ejected the volume comes to light when its image is converted.
    const FailureAdvice& ejection = adviceFor(BuildStep::unmount);
    const bool isUnejected = step == BuildStep::compress
        && (isMissing(ejection.tool) || said.contains("Resource temporarily unavailable"_L1));
    const FailureAdvice& advice = isUnejected ? ejection : adviceFor(step);
    const QString remedy = isMissing(advice.tool)
        ? u"Install this program again: the tool that came with it is missing."_s
        : advice.remedy.toString();
    m_report.failed({adviceFor(step).name.toString(), advice.tool.toString(), text, remedy});
    return ExitStatus::failed;
}

/// Names the user's own files instead of the copies that the tools were given.
QString BuildRun::withoutWorkFolders(QString text) const
{
    static const QString staging = u"/[0-9A-F-]{36}/SourceFiles/"_s;
    const QRegularExpression copies(QRegularExpression::escape(m_session.workFolder()) + staging);
    const QString workspace = copies.match(text).captured();
    if (!workspace.isEmpty())
        text.replace(workspace, QFileInfo(m_job.appURL->toLocalFile()).path() + u'/');
    return text.replace(m_output.path(), m_output.target());
}

bool BuildRun::isMissing(QStringView tool) const
{
    return !tool.isEmpty() && !QFileInfo(m_root.toolPath(tool.toString())).isExecutable();
}
