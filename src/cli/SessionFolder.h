#pragma once

#include <QCoro/QCoroTask>
#include <QString>

/// A folder of one run's own: `vandor-UID/UUID` in the temporary folder, for its user only, held by
/// a lock as long as the run or a tool that it started lives. What a run keeps there (its mounted
/// volumes, its workspace) meets no other run's.
///
/// A run that was killed leaves its folder without a holder; the next run sweeps it away.
class SessionFolder {
public:
    /// Makes and locks the folder. Throws PlatformError, also when the folder above belongs to
    /// somebody else or is open to others.
    explicit SessionFolder(const QString& temporaryFolder);
    ~SessionFolder();
    SessionFolder(const SessionFolder&) = delete;
    SessionFolder& operator=(const SessionFolder&) = delete;

    const QString& path() const { return m_path; }
    /// Where the run's SystemRoot keeps its state.
    QString stateFolder() const { return m_path + QStringLiteral("/state"); }
    QString workFolder() const { return m_path + QStringLiteral("/work"); }

    /// Has `folder`, outside of here, removed too by whoever sweeps after this run.
    void alsoSweep(const QString& folder) const;
    /// Removes everything, on the thread pool.
    QCoro::Task<> remove();

    /// Removes what runs that are no more have left behind, on the thread pool, and tells how many
    /// bytes of files that was; these are counted on the caller's thread.
    static QCoro::Task<qint64> sweepLeftovers(QString temporaryFolder);

private:
    QString m_path;
    int m_lock = -1; // descriptor
};
