#include "build/BuildManager.h"

#include "build/LogTime.h"
#include "model/SettingsManager.h"
#include "platform/Clock.h"
#include "platform/MainQueue.h"
#include "platform/WorkUnderWay.h"

#include <QLocale>
#include <QPointer>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// What the user reads of a failure.
QString descriptionOf(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception& error) {
        return QString::fromUtf8(error.what());
    }
}

} // namespace

BuildManager::BuildManager(BuildHost host, QObject* parent)
    : QObject(parent)
    , m_clock(host.clock)
    , m_settings(host.settings)
    , m_generator(std::move(host))
{ }

void BuildManager::startBuild(const DMGConfig& job)
{
    if (m_status.isBuilding())
        return;
    setStatus(BuildStatus::building());
    if (!m_logs.isEmpty()) {
        m_logs.clear();
        emit logsChanged();
    }
    log(u"Starting build for "_s + job.volumeName + u"..."_s);
    m_image = job.outputURL;
    m_buildTask = std::make_shared<Cancellation>();
    if (m_underWay) {
        m_waiting = job;
        log(u"Waiting for an earlier build to end..."_s);
    } else {
        launch(job);
    }
}

void BuildManager::launch(const DMGConfig& job)
{
    m_underWay = m_buildTask;
    const QPointer<BuildManager> self(this);
    const DMGGenerator::Progress progress = [self, project = m_project](const QString& message) {
        if (self && self->m_project == project)
            self->log(message);
    };
    const DMGGenerator::Share share = [self, project = m_project](double done) {
        if (self && self->m_project == project && self->status().isBuilding())
            emit self->shareDone(done);
    };
    run(self, m_project, m_generator.createDMG(job, progress, m_underWay, share));
}

QCoro::Task<> BuildManager::run(QPointer<BuildManager> manager, int project, QCoro::Task<> build)
{
    const WorkUnderWay work;
    std::exception_ptr failure;
    try {
        co_await build;
    } catch (...) {
        failure = std::current_exception();
    }
    // Progress still on its way comes first.
    MainQueue::post([manager, project, failure] {
        if (manager)
            manager->end(project, failure);
    });
}

void BuildManager::end(int project, const std::exception_ptr& failure)
{
    m_underWay.reset();
    if (project == m_project)
        finish(failure);
    else if (const std::optional<DMGConfig> next = std::exchange(m_waiting, std::nullopt))
        launch(*next);
}

void BuildManager::finish(const std::exception_ptr& failure)
{
    const bool isCancelled = m_buildTask->isRequested();
    m_buildTask.reset();
    if (!failure) {
        log(u"Build Complete!"_s);
        setStatus(BuildStatus::success());
        m_settings.setTotalBuilds(m_settings.totalBuilds() + 1);
    } else if (isCancelled) {
        giveUp();
    } else {
        const QString description = descriptionOf(failure);
        log(u"\n[!] Error: "_s + description);
        setStatus(BuildStatus::failed(description));
    }
}

void BuildManager::cancel()
{
    if (!m_status.isBuilding() || !m_buildTask)
        return;
    log(u"\nCancelling..."_s);
    m_buildTask->request();
    if (std::exchange(m_waiting, std::nullopt)) // none of its steps has begun
        giveUp();
}

void BuildManager::giveUp()
{
    m_buildTask.reset();
    log(u"\n[!] Build Cancelled by User."_s);
    setStatus(BuildStatus::cancelled());
}

void BuildManager::stop()
{
    cancel();
    if (m_underWay)
        m_underWay->request();
}

void BuildManager::clear()
{
    ++m_project;
    m_image.reset();
    m_buildTask.reset();
    m_waiting.reset();
    setStatus(BuildStatus::idle());
    if (m_logs.isEmpty())
        return;
    m_logs.clear();
    emit logsChanged();
}

void BuildManager::log(const QString& message)
{
    m_logs += u'[' + logTime(m_clock.now().time(), QLocale()) + u"] "_s + message + u'\n';
    emit logsChanged();
    emit messageLogged(message);
}

void BuildManager::setStatus(const BuildStatus& status)
{
    if (m_status == status)
        return;
    m_status = status;
    emit statusChanged();
}
