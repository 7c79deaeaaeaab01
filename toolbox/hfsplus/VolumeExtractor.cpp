#include "hfsplus/VolumeExtractor.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "hfsplus/SparseCopy.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <thread>
#include <unistd.h>

namespace hfsplus {

namespace fs = std::filesystem;

namespace {

using bytes::FormatError;

/// Files that a thread takes at once; all lie in one folder.
constexpr std::size_t largestBatch = 32;

/// A date of the volume for utimensat; 0 stands for "never".
timespec hostTime(uint32_t date)
{
    if (date == 0)
        return {.tv_sec = 0, .tv_nsec = UTIME_OMIT};
    return {.tv_sec = static_cast<time_t>(hostSeconds(date)), .tv_nsec = 0};
}

void setTimes(int folder, const char* name, const Entry& entry)
{
    const timespec times[] = {hostTime(entry.dates.access), hostTime(entry.dates.contentMod)};
    if (::utimensat(folder, name, times, AT_SYMLINK_NOFOLLOW) != 0)
        bytes::throwErrno(name);
}

/// For a call that should have made something new at `path`.
[[noreturn]] void failMaking(const std::string& path)
{
    if (errno == EEXIST)
        throw FormatError("two entries of the volume become the same file here: " + path);
    bytes::throwErrno(path);
}

/// Runs `work(index)` for all indices below `count` on several threads. The first exception stops
/// all and is thrown again here.
template <typename Work>
void inParallel(unsigned threads, std::size_t count, Work work)
{
    std::atomic<std::size_t> next = 0;
    std::mutex mutex;
    std::exception_ptr failure;
    const auto run = [&] {
        try {
            for (std::size_t index = next++; index < count; index = next++)
                work(index);
        } catch (...) {
            next = count;
            const std::lock_guard lock(mutex);
            if (!failure)
                failure = std::current_exception();
        }
    };
    {
        std::vector<std::jthread> crew;
        for (unsigned i = 1; i < threads && i < count; ++i)
            crew.emplace_back(run);
        run();
    }
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace

VolumeExtractor::VolumeExtractor(const Volume& volume, fs::path folder, unsigned threads)
    : m_volume(volume)
    , m_folder(std::move(folder))
    , m_base(HostFolder::open(m_folder))
    , m_plan(volume)
    , m_threads(threads != 0 ? threads : std::clamp(std::thread::hardware_concurrency(), 1U, 8U))
{ }

ExtractReport VolumeExtractor::extract()
{
    checkRoom();
    makeFolders();
    makeFiles(m_plan.files);
    writeFolderMetadata();
    makeFiles(m_plan.lateFiles);
    makeHardLinks();
    finishFolders();
    const auto files = m_plan.files.size() + m_plan.lateFiles.size() - m_plan.links;
    return {.snapshot = takeSnapshot(),
        .files = static_cast<uint32_t>(files + m_plan.hardLinks.size()),
        .folders = static_cast<uint32_t>(m_plan.folders.size()) - 1,
        .links = m_plan.links,
        .dataBytes = m_plan.dataBytes,
        .skipped = std::move(m_plan.skipped)};
}

void VolumeExtractor::checkRoom() const
{
    // Files of zeros take no room here, but as much time as if they did.
    if (m_plan.blocks > fs::space(m_folder).available / m_volume.header().blockSize)
        throw std::system_error(ENOSPC, std::generic_category(), m_folder.string());
}

void VolumeExtractor::makeFolders()
{
    std::string_view parentPath;
    HostFolder parent = m_base.descend({});
    for (const LayoutPlan::Item& job : m_plan.folders) {
        if (job.path.empty())
            continue;
        if (folderOf(job.path) != parentPath) {
            parentPath = folderOf(job.path);
            parent = m_base.descend(parentPath);
        }
        const std::string name(nameOf(job.path));
        if (::mkdirat(parent.descriptor(), name.c_str(), 0700) != 0)
            failMaking(job.path);
    }
}

void VolumeExtractor::makeFiles(LayoutPlan::Items& jobs)
{
    std::vector<std::span<LayoutPlan::Item>> batches;
    for (LayoutPlan::Item& job : jobs) {
        const bool goesOn = !batches.empty() && batches.back().size() < largestBatch
            && folderOf(batches.back().front().path) == folderOf(job.path);
        if (goesOn)
            batches.back() = {batches.back().data(), batches.back().size() + 1};
        else
            batches.emplace_back(&job, 1);
    }
    inParallel(m_threads, batches.size(), [&](std::size_t index) {
        const HostFolder folder = m_base.descend(folderOf(batches[index].front().path));
        for (LayoutPlan::Item& job : batches[index])
            makeFile(folder, job);
    });
}

void VolumeExtractor::makeFile(const HostFolder& folder, LayoutPlan::Item& job) const
{
    const Entry entry = *m_volume.entryWithID(job.id);
    const std::string name(nameOf(job.path));
    if (entry.kind == EntryKind::symlink)
        makeSymlink(folder, job, entry);
    else
        writeData(folder, job, entry);
    job.hasMetadata = writeMetadata(folder.pathOf(name), entry);
    if (entry.kind != EntryKind::symlink
        && ::fchmodat(folder.descriptor(), name.c_str(), hostMode(entry), 0) != 0)
        bytes::throwErrno(job.path);
    setTimes(folder.descriptor(), name.c_str(), entry);
}

void VolumeExtractor::makeSymlink(
    const HostFolder& folder, const LayoutPlan::Item& job, const Entry& entry) const
{
    const std::string target = m_volume.linkTarget(entry), name(nameOf(job.path));
    if (::symlinkat(target.c_str(), folder.descriptor(), name.c_str()) != 0)
        failMaking(job.path);
}

void VolumeExtractor::writeData(
    const HostFolder& folder, const LayoutPlan::Item& job, const Entry& entry) const
{
    const std::string name(nameOf(job.path));
    const int descriptor = ::openat(folder.descriptor(), name.c_str(),
        O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor < 0)
        failMaking(job.path);
    bytes::File file(descriptor, job.path);
    copySparse(m_volume.dataFork(entry), file);
}

/// False when there was nothing to write.
bool VolumeExtractor::writeMetadata(const fs::path& path, const Entry& entry) const
{
    const macfile::Metadata metadata = m_volume.metadata(entry);
    if (metadata.empty())
        return false;
    macfile::writeMetadata(path, metadata);
    return true;
}

void VolumeExtractor::makeHardLinks()
{
    std::unordered_map<CatalogID, const LayoutPlan::Item*> firsts;
    for (const LayoutPlan::Items* jobs : {&m_plan.files, &m_plan.lateFiles})
        for (const LayoutPlan::Item& job : *jobs)
            firsts.emplace(job.id, &job);
    for (LayoutPlan::Item& job : m_plan.hardLinks) {
        const LayoutPlan::Item& first = *firsts.at(job.linkTo);
        const HostFolder from = m_base.descend(folderOf(first.path));
        const HostFolder to = m_base.descend(folderOf(job.path));
        const std::string fromName(nameOf(first.path)), toName(nameOf(job.path));
        if (::linkat(from.descriptor(), fromName.c_str(), to.descriptor(), toName.c_str(), 0) != 0)
            failMaking(job.path);
    }
}

void VolumeExtractor::writeFolderMetadata()
{
    for (LayoutPlan::Item& job : m_plan.folders)
        job.hasMetadata =
            writeMetadata(m_base.descend(job.path).pathOf("."), *m_volume.entryWithID(job.id));
}

/// From the leaves up, for making what they hold changed their dates.
void VolumeExtractor::finishFolders()
{
    for (auto job = m_plan.folders.rbegin(); job != m_plan.folders.rend(); ++job) {
        const Entry entry = *m_volume.entryWithID(job->id);
        const HostFolder folder = m_base.descend(job->path);
        if (::fchmod(folder.descriptor(), hostMode(entry)) != 0)
            bytes::throwErrno(job->path);
        setTimes(folder.descriptor(), ".", entry);
    }
}

FolderSnapshot VolumeExtractor::takeSnapshot() const
{
    std::vector<FolderSnapshot::Item> items;
    struct stat status { };
    std::string_view openPath;
    HostFolder folder = m_base.descend({});
    const auto take = [&](const std::string& path, CatalogID id) {
        if (folder.status(std::string(nameOf(path)).c_str(), status))
            items.push_back({path, id, FileFacts(status)});
    };
    for (const LayoutPlan::Items* jobs :
        {&m_plan.files, &m_plan.lateFiles, &m_plan.hardLinks, &m_plan.folders})
        for (const LayoutPlan::Item& job : *jobs) {
            const std::string_view parent = folderOf(job.path);
            if (parent != openPath)
                folder = m_base.descend(openPath = parent);
            if (job.path.empty()) {
                folder.status(".", status);
                items.push_back({"", job.id, FileFacts(status)});
            } else {
                take(job.path, job.id);
            }
            if (!job.hasMetadata)
                continue;
            const std::string inside = job.path.empty() ? "" : std::string(job.path) + "/";
            const std::string beside = parent.empty() ? "" : std::string(parent) + "/";
            if (job.kind != EntryKind::folder)
                take(beside + "._" + std::string(nameOf(job.path)), 0);
            else if (m_base.descend(job.path).status("._.", status))
                items.push_back({inside + "._.", 0, FileFacts(status)});
        }
    return FolderSnapshot(std::move(items));
}

} // namespace hfsplus
