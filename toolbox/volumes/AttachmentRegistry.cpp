#include "volumes/AttachmentRegistry.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "mounting/Mount.h"
#include "udif/DiskImage.h"
#include "volumes/ChangeLog.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <span>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace volumes {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view entryPrefix = "disk";
constexpr std::string_view entrySuffix = ".json";
constexpr std::string_view unfinishedPrefix = ".vandor-"; // bytes::OutputFile's too

/// The number in "disk12.json".
std::optional<unsigned> diskOfEntry(std::string_view name)
{
    if (!name.starts_with(entryPrefix) || !name.ends_with(entrySuffix))
        return std::nullopt;
    const char* first = name.data() + entryPrefix.size();
    const char* last = name.data() + name.size() - entrySuffix.size();
    unsigned disk = 0;
    const auto [end, fault] = std::from_chars(first, last, disk);
    return fault == std::errc{} && end == last ? std::optional(disk) : std::nullopt;
}

/// Folders of a volume may forbid their owner to look inside or to change them; such a tree can
/// only be removed once they are opened.
void removeTree(const fs::path& folder)
{
    std::error_code fault;
    fs::remove_all(folder, fault);
    if (!fault)
        return;
    ::chmod(folder.c_str(), 0700);
    for (fs::recursive_directory_iterator
             entry(folder, fs::directory_options::skip_permission_denied, fault),
         end;
         !fault && entry != end; entry.increment(fault)) {
        if (entry->is_directory() && !entry->is_symlink())
            ::chmod(entry->path().c_str(), 0700);
    }
    fs::remove_all(folder);
}

} // namespace

AttachmentRegistry::AttachmentRegistry(StateFolder state)
    : m_state(std::move(state))
{ }

FileLock AttachmentRegistry::lock() const
{
    return FileLock::wait(m_state.attached() / "lock");
}

FileLock AttachmentRegistry::lockDisk(unsigned disk) const
{
    return FileLock::wait(lockFile(disk));
}

std::optional<FileLock> AttachmentRegistry::tryLockDisk(unsigned disk) const
{
    return FileLock::tryNow(lockFile(disk));
}

std::vector<unsigned> AttachmentRegistry::disks() const
{
    std::vector<unsigned> found;
    for (const fs::directory_entry& entry : fs::directory_iterator(m_state.attached())) {
        if (const auto disk = diskOfEntry(entry.path().filename().string()))
            found.push_back(*disk);
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::optional<AttachedImage> AttachmentRegistry::load(unsigned disk) const
{
    std::ifstream in(entryFile(disk), std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(in), {});
    try {
        AttachedImage image = readAttachedImage(text);
        if (image.ownsFolder && !image.folder.empty())
            image.folder = ownFolder(image.folder);
        return image.disk == disk ? std::optional(std::move(image)) : std::nullopt;
    } catch (const bytes::FormatError&) {
        return std::nullopt;
    }
}

/// A copied or moved state folder must not lead to the volumes of the old one.
fs::path AttachmentRegistry::ownFolder(const fs::path& folder) const
{
    const fs::path name = folder.filename();
    if (name.empty() || name == "." || name == "..")
        throw bytes::FormatError("an entry of the registry names no folder");
    return m_state.volumes() / name;
}

std::vector<AttachedImage> AttachmentRegistry::list() const
{
    std::vector<AttachedImage> images;
    for (const unsigned disk : disks()) {
        if (auto image = load(disk))
            images.push_back(std::move(*image));
    }
    return images;
}

unsigned AttachmentRegistry::freeDisk() const
{
    const std::vector<unsigned> taken = disks();
    unsigned disk = firstDisk;
    while (std::binary_search(taken.begin(), taken.end(), disk))
        ++disk;
    return disk;
}

void AttachmentRegistry::save(const AttachedImage& image) const
{
    const std::string text = writeAttachedImage(image);
    bytes::OutputFile entry(entryFile(image.disk));
    entry.file().writeAt(0, std::as_bytes(std::span(text)));
    entry.commit(true);
}

/// Made under a random name and then renamed: see StateFolder::make.
void AttachmentRegistry::makeFolder(const AttachedImage& image) const
{
    std::string unfinished =
        (m_state.attached() / (std::string(unfinishedPrefix) + "XXXXXX")).string();
    if (::mkdtemp(unfinished.data()) == nullptr)
        bytes::throwErrno(unfinished);
    if (::rename(unfinished.c_str(), image.folder.c_str()) == 0)
        return;
    const int failure = errno;
    ::rmdir(unfinished.c_str());
    throw std::system_error(failure, std::generic_category(), image.folder.string());
}

/// However the volume looks from here: another user's or another mount name space's tools may see
/// it, and a process that doesn't answer is asked nothing.
bool AttachmentRegistry::isServedNow(unsigned disk) const
{
    const fs::path file = serviceFile(disk);
    return fs::exists(file) && !FileLock::tryNow(file);
}

/// Unmounts, or lets the process do it that may.
void AttachmentRegistry::endService(const AttachedImage& image) const
{
    constexpr auto patience = std::chrono::seconds(10);
    constexpr auto glance = std::chrono::milliseconds(20);
    if (!image.folder.empty() && mounting::isMountedAt(image.folder)) {
        try {
            mounting::unmount(image.folder, true);
        } catch (const std::system_error&) {
            // Whoever mounted it has the right.
        }
    }
    fs::remove(serviceFile(image.disk));
    const auto end = std::chrono::steady_clock::now() + patience;
    while (mounting::isMountedAt(image.folder)) {
        if (std::chrono::steady_clock::now() > end)
            throw std::system_error(EBUSY, std::generic_category(), image.folder.string());
        std::this_thread::sleep_for(glance);
    }
}

/// Under a mounted volume lies an empty folder. What somebody put there since is not ours.
void AttachmentRegistry::discardFolder(const AttachedImage& image) const
{
    const bool wasServed = image.isServed || fs::exists(serviceFile(image.disk));
    if (wasServed)
        endService(image);
    if (image.ownsFolder && !image.folder.empty()) {
        if (wasServed)
            ::rmdir(image.folder.c_str());
        else
            removeTree(image.folder);
    } else if (std::error_code gone; !wasServed && fs::is_directory(image.folder, gone)) {
        for (const fs::directory_entry& entry : fs::directory_iterator(image.folder))
            removeTree(entry.path());
    }
    fs::remove_all(scratchFolder(image.disk));
    fs::remove(snapshotFile(image.disk));
    fs::remove(changesFile(image.disk));
}

void AttachmentRegistry::remove(const AttachedImage& image) const
{
    discardFolder(image);
    fs::remove(entryFile(image.disk));
    fs::remove(lockFile(image.disk));
}

void AttachmentRegistry::unmount(AttachedImage& image) const
{
    discardFolder(image);
    image.stage = AttachedImage::Stage::unmounted;
    image.mountPoint.clear();
    image.folder.clear();
    save(image);
}

bool AttachmentRegistry::isStale(const AttachedImage& image) const
{
    switch (image.stage) {
    case AttachedImage::Stage::preparing:
    case AttachedImage::Stage::writing:
    case AttachedImage::Stage::discarding:
        return true;
    case AttachedImage::Stage::mounted:
        return image.isServed ? !isServedNow(image.disk) : !fs::is_directory(image.folder);
    case AttachedImage::Stage::unmounted:
        return FileIdentity::of(image.image) != image.identity;
    }
    return false;
}

void AttachmentRegistry::carryOutChanges(const AttachedImage& image) const
{
    const auto place = image.currentPlace();
    if (!place)
        return;
    udif::DiskImage disk = udif::DiskImage::open(*place, udif::DiskImage::Access::readWrite);
    ChangeLog::carryOut(changesFile(image.disk), disk.writableDisk());
}

/// False when changes could not be written out now; another tool may be luckier.
bool AttachmentRegistry::finish(const AttachedImage& image) const
{
    try {
        if (image.stage == AttachedImage::Stage::writing)
            carryOutChanges(image);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

/// What a killed tool was writing here under a temporary name. Nobody else may be doing so.
void AttachmentRegistry::removeUnfinishedFiles() const
{
    for (const fs::directory_entry& entry : fs::directory_iterator(m_state.attached())) {
        if (entry.path().filename().string().starts_with(unfinishedPrefix))
            fs::remove(entry.path());
    }
}

std::vector<AttachedImage> AttachmentRegistry::sweep() const
{
    std::vector<AttachedImage> gone;
    bool nobodyWorks = true;
    for (const unsigned disk : disks()) {
        const auto held = tryLockDisk(disk);
        if (!held) {
            nobodyWorks = false;
            continue;
        }
        auto image = load(disk);
        if (!image) {
            // A damaged entry: nothing but its name is known.
            image.emplace().disk = disk;
        } else if (!isStale(*image) || !finish(*image)) {
            continue;
        }
        try {
            remove(*image);
            gone.push_back(std::move(*image));
        } catch (const std::exception&) {
            // One that can't be tidied away must not keep others from being used.
            nobodyWorks = false;
        }
    }
    if (nobodyWorks)
        removeUnfinishedFiles();
    return gone;
}

fs::path AttachmentRegistry::entryFile(unsigned disk) const
{
    return m_state.attached() / ("disk" + std::to_string(disk) + ".json");
}

fs::path AttachmentRegistry::lockFile(unsigned disk) const
{
    return m_state.attached() / ("disk" + std::to_string(disk) + ".lock");
}

fs::path AttachmentRegistry::serviceFile(unsigned disk) const
{
    return m_state.attached() / ("disk" + std::to_string(disk) + ".service");
}

fs::path AttachmentRegistry::changesFile(unsigned disk) const
{
    return m_state.attached() / ("disk" + std::to_string(disk) + ".changes");
}

fs::path AttachmentRegistry::scratchFolder(unsigned disk) const
{
    return m_state.attached() / ("disk" + std::to_string(disk) + ".scratch");
}

fs::path AttachmentRegistry::snapshotFile(unsigned disk) const
{
    return m_state.attached() / ("disk" + std::to_string(disk) + ".snapshot");
}

} // namespace volumes
