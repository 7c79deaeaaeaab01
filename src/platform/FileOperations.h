#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <atomic>
#include <memory>

/// Work on whole files and folders. All of it throws PlatformError, which names the file that
/// was at fault. Paths are the host's. Nothing here follows a symbolic link that a path ends in
/// or that lies in a tree.
class FileOperations {
public:
    using StopFlag = std::shared_ptr<const std::atomic<bool>>;

    /// Copies a file, a folder with all it holds, or a link, to a path where nothing is yet.
    /// Keeps links as links and hard links as hard links, permissions, times of change, and
    /// extended attributes of the user's (dropped where the target's file system has none).
    /// Sockets, pipes and devices are refused. Runs on the thread pool; setting `stop` ends it
    /// soon with an error. What was copied before an error stays for the caller to remove.
    static QCoro::Task<> copyTree(QString from, QString to, StopFlag stop = {});
    /// Removes a file, a link, or a folder with all it holds, read-only ones included. Runs on
    /// the thread pool.
    static QCoro::Task<> removeTree(QString path);
    /// Bytes of all files below a folder that can be seen, links not followed. Runs on the thread
    /// pool.
    static QCoro::Task<qint64> bytesIn(QString folder);

    /// With all missing folders on the way; one that exists is fine.
    static void createFolder(const QString& path);
    static void createLink(const QString& target, const QString& link);
    /// Removes a file or a link, never a folder.
    static void removeFile(const QString& path);
    /// True for a link that leads nowhere, too.
    static bool exists(const QString& path);
};
