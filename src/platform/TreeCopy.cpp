#include "platform/TreeCopy.h"

#include "platform/Descriptor.h"
#include "platform/FileCopy.h"
#include "platform/PlatformError.h"
#include "platform/WorkQueue.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <map>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

PlatformError failure(const QByteArray& path, int error)
{
    return PlatformError::fromErrno(PlatformError::Operation::copy, QFile::decodeName(path), error);
}

[[noreturn]] void fail(const QByteArray& path, int error)
{
    throw failure(path, error);
}

[[noreturn]] void fail(const QByteArray& path, const char* reason)
{
    throw PlatformError(PlatformError::Operation::copy, QFile::decodeName(path),
        QCoreApplication::translate("TreeCopy", reason));
}

/// A folder and its copy. Lives until the last of its entries is copied.
struct FolderPair {
    Descriptor source;
    Descriptor target;
    QByteArray path; // the source's, for messages
    struct stat status { };
    std::shared_ptr<FolderPair> parent; // whose times may only be set after ours

    int sourceFolder() const { return source ? source.get() : AT_FDCWD; }
    int targetFolder() const { return target ? target.get() : AT_FDCWD; }
};
using FolderHandle = std::shared_ptr<FolderPair>;

struct Entry {
    FolderHandle folder;
    QByteArray sourceName;
    QByteArray targetName;
    QByteArray path; // as in FolderPair
    QByteArray targetPath;
    struct stat status { }; // the source's

    int sourceFolder() const { return folder->sourceFolder(); }
    int targetFolder() const { return folder->targetFolder(); }
};

using Identity = std::pair<dev_t, ino_t>;

Identity identityOf(const struct stat& status)
{
    return {status.st_dev, status.st_ino};
}

/// Files of one folder that one thread copies: handing them over one by one takes longer than a
/// small file does.
class Batch {
public:
    void add(Entry entry)
    {
        m_bytes += entry.status.st_size;
        m_files.push_back(std::move(entry));
    }
    bool isFull() const { return m_files.size() == mostFiles || m_bytes >= enoughBytes; }
    std::vector<Entry> take()
    {
        m_bytes = 0;
        return std::exchange(m_files, {});
    }

private:
    static constexpr size_t mostFiles = 32;
    static constexpr off_t enoughBytes = off_t{1} << 20;

    std::vector<Entry> m_files;
    off_t m_bytes = 0;
};

class Copier {
public:
    explicit Copier(TreeCopy::StopFlag stop)
        : m_stop(std::move(stop))
    { }
    void copy(Entry entry);

private:
    void copyEntry(Entry entry, Batch& batch);
    void copyFolder(const Entry& entry);
    void hand(Batch& batch);
    void heedStop(const Entry& entry) const;
    void copyFile(const Entry& entry);
    void copyLink(const Entry& entry);
    bool linkToEarlierCopy(const Entry& entry);
    FolderHandle createCopy(const Entry& entry);

    TreeCopy::StopFlag m_stop;
    std::map<Identity, QByteArray> m_hardLinks; // the first copy of a file with several names
    std::optional<Identity> m_targetRoot;
    // Two threads overlap one file's waits with the other's work. Each queued job may hold a
    // folder, those above it and their copies open, which bounds the queue.
    WorkQueue m_queue{2, 16};
};

void Copier::copy(Entry entry)
{
    Batch batch;
    copyEntry(std::move(entry), batch);
    hand(batch);
    m_queue.finish();
}

void Copier::copyEntry(Entry entry, Batch& batch)
{
    heedStop(entry);
    if (::fstatat(
            entry.sourceFolder(), entry.sourceName.constData(), &entry.status, AT_SYMLINK_NOFOLLOW)
        != 0)
        fail(entry.path, errno);
    if (S_ISDIR(entry.status.st_mode))
        copyFolder(entry);
    else if (S_ISLNK(entry.status.st_mode))
        copyLink(entry);
    else if (!S_ISREG(entry.status.st_mode))
        fail(
            entry.path, QT_TRANSLATE_NOOP("TreeCopy", "It is neither a file, a folder nor a link"));
    else if (entry.status.st_nlink == 1)
        batch.add(std::move(entry));
    else if (!linkToEarlierCopy(entry)) {
        copyFile(entry); // here and now, so that later names can link to it
        m_hardLinks.emplace(identityOf(entry.status), entry.targetPath);
    }
}

void Copier::copyFolder(const Entry& entry)
{
    if (m_targetRoot == identityOf(entry.status))
        fail(entry.path, QT_TRANSLATE_NOOP("TreeCopy", "A folder can't hold its own copy"));
    const FolderHandle folder = createCopy(entry);
    std::vector<QByteArray> names;
    if (!readFolder(folder->sourceFolder(), names))
        fail(entry.path, errno);
    Batch batch;
    for (const QByteArray& name : names) {
        copyEntry(
            {folder, name, name, entry.path + '/' + name, entry.targetPath + '/' + name}, batch);
        if (batch.isFull())
            hand(batch);
    }
    hand(batch);
}

void Copier::hand(Batch& batch)
{
    std::vector<Entry> files = batch.take();
    if (files.empty())
        return;
    m_queue.add([this, files = std::move(files)] {
        for (const Entry& file : files) {
            heedStop(file);
            copyFile(file);
        }
    });
}

void Copier::heedStop(const Entry& entry) const
{
    if (m_stop && *m_stop)
        fail(entry.path, ECANCELED);
}

/// Makes the folder's copy, writable for now, and opens both.
FolderHandle Copier::createCopy(const Entry& entry)
{
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    auto folder = std::make_unique<FolderPair>();
    folder->path = entry.path;
    folder->status = entry.status;
    folder->parent = entry.folder;
    folder->source =
        Descriptor(::openat(entry.sourceFolder(), entry.sourceName.constData(), flags));
    if (!folder->source)
        fail(entry.path, errno);
    if (::mkdirat(entry.targetFolder(), entry.targetName.constData(), S_IRWXU) != 0)
        fail(entry.targetPath, errno);
    folder->target =
        Descriptor(::openat(entry.targetFolder(), entry.targetName.constData(), flags));
    struct stat created { };
    if (!folder->target || ::fstat(folder->target.get(), &created) != 0
        || !FileCopy::attributes(folder->source.get(), folder->target.get()))
        fail(entry.targetPath, errno);
    if (!m_targetRoot)
        m_targetRoot = identityOf(created);

    const auto complete = [this](FolderPair* pair) {
        const std::unique_ptr<FolderPair> owner(pair);
        if (!FileCopy::status(pair->target.get(), pair->status))
            m_queue.fail(std::make_exception_ptr(failure(pair->path, errno)));
    };
    return FolderHandle(folder.release(), complete);
}

void Copier::copyFile(const Entry& entry)
{
    // Without O_NONBLOCK a pipe that took the file's place would wait for a writer.
    const Descriptor source(::openat(entry.sourceFolder(), entry.sourceName.constData(),
        O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status { };
    if (!source || ::fstat(source.get(), &status) != 0)
        fail(entry.path, errno);
    if (!S_ISREG(status.st_mode))
        fail(entry.path, EINVAL);
    const Descriptor target(::openat(entry.targetFolder(), entry.targetName.constData(),
        O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!target)
        fail(entry.targetPath, errno);
    if (!FileCopy::contents(source.get(), target.get(), m_stop.get())
        || !FileCopy::attributes(source.get(), target.get())
        || !FileCopy::status(target.get(), status))
        fail(entry.path, errno);
}

void Copier::copyLink(const Entry& entry)
{
    QByteArray leadsTo(entry.status.st_size > 0 ? entry.status.st_size + 1 : PATH_MAX, '\0');
    const ssize_t length = ::readlinkat(entry.sourceFolder(), entry.sourceName.constData(),
        leadsTo.data(), static_cast<size_t>(leadsTo.size()));
    if (length < 0)
        fail(entry.path, errno);
    leadsTo.truncate(length);
    const char* const name = entry.targetName.constData();
    const timespec times[2] = {FileCopy::accessed(entry.status), FileCopy::modified(entry.status)};
    if (::symlinkat(leadsTo.constData(), entry.targetFolder(), name) != 0
        || ::utimensat(entry.targetFolder(), name, times, AT_SYMLINK_NOFOLLOW) != 0)
        fail(entry.targetPath, errno);
}

/// False when there is no earlier copy, or the file system doesn't take another name for it.
bool Copier::linkToEarlierCopy(const Entry& entry)
{
    const auto earlier = m_hardLinks.find(identityOf(entry.status));
    return earlier != m_hardLinks.end()
        && ::linkat(AT_FDCWD, earlier->second.constData(), entry.targetFolder(),
               entry.targetName.constData(), 0)
        == 0;
}

} // namespace

void TreeCopy::run(const QString& from, const QString& to, const StopFlag& stop)
{
    // Without a slash at the end, which would follow a link.
    const QByteArray source = QFile::encodeName(QDir::cleanPath(from));
    const QByteArray target = QFile::encodeName(QDir::cleanPath(to));
    Copier copier(stop);
    copier.copy({std::make_shared<FolderPair>(), source, target, source, target});
}
