#pragma once

#include "build/BuildManager.h"
#include "build/BuildStep.h"
#include "cli/BuildReport.h"
#include "cli/CommandHost.h"
#include "cli/Interruption.h"
#include "cli/SessionFolder.h"
#include "cli/StagedIcons.h"
#include "cli/StagedOutput.h"
#include "platform/HostIconService.h"
#include "platform/HostToolRunner.h"
#include "platform/OsaScriptRunner.h"

#include <QElapsedTimer>

/// One build from the command line, in a session of its own, until it has ended or was
/// interrupted. Whatever happens, only the finished image is left.
class BuildRun : public QObject {
    Q_OBJECT
public:
    /// `job` is complete and checked. Borrows `host` and `report`. Throws PlatformError when there
    /// is no place to work.
    BuildRun(const DMGConfig& job, const CommandHost& host, BuildReport& report);

    /// Keeps what the tools say of their progress from the person who watches.
    void hideToolOutput() { m_tools.hideOutput(); }
    /// Runs the main loop; returns the exit status.
    int exec();

private:
    void takeBothResolutions();
    void compareBackgroundWithWindow();
    void interrupt();
    void follow(const QString& message);
    void followStatus();
    QCoro::Task<> finish();
    int report();
    int reportFailure(BuildStep step, const QString& said);
    QString withoutWorkFolders(QString text) const;
    bool isMissing(QStringView tool) const;

    DMGConfig m_job;
    const CommandHost& m_host;
    BuildReport& m_report;
    QElapsedTimer m_time;
    Interruption m_interruption; // before there is anything that it must not leave behind
    StagedOutput m_output; // first, since it goes by itself when there can be no session
    SessionFolder m_session;
    SystemRoot m_root;
    HostToolRunner m_tools;
    OsaScriptRunner m_scripts;
    HostIconService m_hostIcons;
    StagedIcons m_icons;
    std::shared_ptr<std::atomic<bool>> m_stopCopies = std::make_shared<std::atomic<bool>>(false);
    BuildManager m_manager;
    QCoro::Task<qint64> m_sweep;
    BuildStep m_step = BuildStep::freeVolumeName;
};
