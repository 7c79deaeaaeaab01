#include "platform/FileOperations.h"

#include "platform/PlatformError.h"
#include "platform/TreeCopy.h"
#include "platform/TreeRemoval.h"

#include <QCoro/QCoroFuture>
#include <QDirIterator>
#include <QFile>
#include <QPromise>
#include <QThreadPool>

#include <cerrno>
#include <exception>
#include <filesystem>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

/// Runs `work` on the thread pool; the future's result is what it threw, or null.
QFuture<std::exception_ptr> onThreadPool(std::function<void()> work)
{
    const auto promise = std::make_shared<QPromise<std::exception_ptr>>();
    promise->start();
    const QFuture<std::exception_ptr> outcome = promise->future();
    QThreadPool::globalInstance()->start([promise, work = std::move(work)] {
        std::exception_ptr failure;
        try {
            work();
        } catch (...) {
            failure = std::current_exception();
        }
        promise->addResult(failure);
        promise->finish();
    });
    return outcome;
}

} // namespace

QCoro::Task<> FileOperations::copyTree(QString from, QString to, StopFlag stop)
{
    const std::function<void()> work = [from, to, stop] { TreeCopy::run(from, to, stop); };
    const QFuture<std::exception_ptr> outcome = onThreadPool(work);
    if (const std::exception_ptr failure = co_await outcome)
        std::rethrow_exception(failure);
}

QCoro::Task<> FileOperations::removeTree(QString path)
{
    const std::function<void()> work = [path] { TreeRemoval::run(path); };
    const QFuture<std::exception_ptr> outcome = onThreadPool(work);
    if (const std::exception_ptr failure = co_await outcome)
        std::rethrow_exception(failure);
}

QCoro::Task<qint64> FileOperations::bytesIn(QString folder)
{
    const auto bytes = std::make_shared<qint64>(0);
    const std::function<void()> work = [folder, bytes] {
        QDirIterator files(folder, QDir::Files | QDir::Hidden | QDir::System | QDir::NoSymLinks,
            QDirIterator::Subdirectories);
        while (files.hasNext())
            *bytes += files.nextFileInfo().size();
    };
    const QFuture<std::exception_ptr> outcome = onThreadPool(work);
    co_await outcome;
    co_return *bytes;
}

void FileOperations::createFolder(const QString& path)
{
    std::error_code error;
    std::filesystem::create_directories(QFile::encodeName(path).toStdString(), error);
    if (error)
        throw PlatformError::fromErrno(PlatformError::Operation::createFolder, path, error.value());
}

void FileOperations::createLink(const QString& target, const QString& link)
{
    if (::symlink(QFile::encodeName(target).constData(), QFile::encodeName(link).constData()) != 0)
        throw PlatformError::fromErrno(PlatformError::Operation::createLink, link, errno);
}

void FileOperations::removeFile(const QString& path)
{
    if (::unlink(QFile::encodeName(path).constData()) != 0)
        throw PlatformError::fromErrno(PlatformError::Operation::remove, path, errno);
}

bool FileOperations::exists(const QString& path)
{
    struct stat status { };
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0;
}
