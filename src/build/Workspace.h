#pragma once

#include <QCoro/QCoroTask>
#include <QString>
#include <QUrl>

#include <atomic>
#include <memory>

/// The staging area of one build, and its owner: a folder with a fresh name, readable by its user
/// only, holding the future volume's content (SourceFiles) and the writable image (temp.dmg).
/// What fails in the file system throws PlatformError.
class Workspace {
public:
    using StopFlag = std::shared_ptr<const std::atomic<bool>>;

    /// Makes the folders; `stop` ends copies under way.
    Workspace(const QString& temporaryFolder, StopFlag stop);
    /// Removes, on the calling thread, what `remove` did not.
    ~Workspace();
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;

    QString sourceFiles() const;
    QString writableImage() const;

    /// Throws DMGError when there is no application at the place.
    QCoro::Task<> copyApplication(QUrl application) const;
    void linkApplications() const;
    /// Returns where the picture is, relative to the volume's root.
    QCoro::Task<QString> copyBackground(QUrl picture) const;

    /// Removes the future volume's content, once the writable image holds it. On the thread pool;
    /// starts at once. What fails is left for `remove`.
    QCoro::Task<> removeSourceFiles() const;
    /// Removes everything, on the thread pool. A failure is nobody's concern.
    QCoro::Task<> remove();

private:
    QString m_root;
    StopFlag m_stop;
};
