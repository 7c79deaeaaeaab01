#pragma once

#include "build/BuildStatus.h"
#include "build/DMGGenerator.h"

#include <QObject>
#include <QPointer>

#include <exception>
#include <optional>

/// Owns the one build that may run at a time, tells its state and keeps its log. Main thread only.
/// A build goes on to its end when the manager is gone; nobody hears of it then.
class BuildManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(BuildStatus status READ status NOTIFY statusChanged)
    Q_PROPERTY(QString logs READ logs NOTIFY logsChanged)

public:
    explicit BuildManager(BuildHost host, QObject* parent = nullptr);

    const BuildStatus& status() const { return m_status; }
    /// All lines of the current or last build, each "[time] message" and a line feed.
    const QString& logs() const { return m_logs; }
    /// Handle of the running build; none when none runs.
    const CancellationHandle& buildTask() const { return m_buildTask; }

    /// Where the current or last build puts its image.
    const std::optional<QUrl>& image() const { return m_image; }

    /// Returns at once. Does nothing while a build runs; waits for one that goes on unheard, whose
    /// volume may have the same name.
    void startBuild(const DMGConfig& job);
    /// Asks the running build to cut its waits short; it ends as `cancelled` if a step then fails,
    /// and at once where it waits for another.
    void cancel();
    /// Before the program ends: `cancel`, also for the build that goes on unheard.
    void stop();
    void log(const QString& message);
    /// For a new project: as at first. A build that is still under way goes on unheard.
    void clear();

signals:
    void statusChanged();
    void logsChanged();
    /// The message alone, after it has become part of `logs`.
    void messageLogged(const QString& message);
    /// How much of the step of the last message is done, from 0 to 1; not every step tells.
    void shareDone(double share);

private:
    void launch(const DMGConfig& job);
    static QCoro::Task<> run(QPointer<BuildManager> manager, int project, QCoro::Task<> build);
    void end(int project, const std::exception_ptr& failure);
    void finish(const std::exception_ptr& failure);
    void giveUp();
    void setStatus(const BuildStatus& status);

    BuildStatus m_status;
    QString m_logs;
    std::optional<QUrl> m_image;
    CancellationHandle m_buildTask;
    CancellationHandle m_underWay; // of the build whose steps run, heard or not
    std::optional<DMGConfig> m_waiting; // for its end
    int m_project = 0; // grows with every `clear`
    Clock& m_clock;
    SettingsManager& m_settings;
    DMGGenerator m_generator;
};
