#include "volumes/AttachedVolumes.h"

#include "bytes/ByteDevice.h"
#include "bytes/File.h"
#include "hfsplus/FolderChanges.h"
#include "hfsplus/Volume.h"
#include "hfsplus/VolumeEditor.h"
#include "hfsplus/VolumeExtractor.h"
#include "mounting/Mount.h"
#include "udif/DiskImage.h"
#include "volumes/ChangeLog.h"
#include "volumes/DeviceName.h"
#include "volumes/MountName.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace volumes {

namespace fs = std::filesystem;
using Stage = AttachedImage::Stage;

namespace {

/// Takes a half laid out volume away while its makers may still be adding to it, for as long as
/// that can take. What then still stays, the next tool sweeps.
void removeWhileInUse(const AttachmentRegistry& registry, const AttachedImage& image) noexcept
{
    constexpr int attempts = 3000;
    for (int i = 0; i < attempts; ++i) {
        try {
            registry.remove(image);
            return;
        } catch (const std::exception&) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
}

[[noreturn]] void throwError(int code, const fs::path& path)
{
    throw std::system_error(code, std::generic_category(), path.string());
}

/// Absolute, without "." and trailing slashes.
std::string mountPointNamed(const fs::path& path)
{
    std::string text = fs::absolute(path).lexically_normal().string();
    while (text.size() > 1 && text.back() == '/')
        text.pop_back();
    return text;
}

/// The first of the volume's names that is free in `root` or an empty folder there, which is made
/// if need be; as a Mac has it.
fs::path folderBelow(const StateFolder& state, const fs::path& root, const std::string& volumeName)
{
    const std::string name = mountNameFor(volumeName);
    for (unsigned choice = 0;; ++choice) {
        const fs::path candidate = root / numberedName(name, choice);
        const fs::path folder = state.hostPath(candidate);
        const fs::file_type type = fs::symlink_status(folder).type();
        if (folder.parent_path() == state.volumes()) {
            if (type == fs::file_type::not_found)
                return candidate;
        } else if (type == fs::file_type::not_found) {
            fs::create_directory(folder);
            return candidate;
        } else if (type == fs::file_type::directory && fs::is_empty(folder)) {
            return candidate;
        }
    }
}

/// What a mounted volume knows of its changes; nothing for a folder.
hfsplus::UntouchedFolder accountOf(const AttachedImage& image)
{
    if (!image.isServed)
        return {};
    return [](const hfsplus::HostFolder& folder) {
        return mounting::isUntouched(folder.descriptor());
    };
}

bool wasChanged(const AttachedImage& image, const hfsplus::FolderSnapshot& before)
{
    const auto items =
        hfsplus::listFolder(hfsplus::HostFolder::open(image.folder), before, accountOf(image));
    return !hfsplus::FolderChanges::between(before, items, [](auto) { return false; }).empty();
}

/// What is lost with the folder of a read-only volume. A Mac refuses such changes as they are made;
/// here the one moment to tell is the last. A folder that can't be looked at holds up nobody.
std::string lostOnReadOnly(const AttachedImage& image, const fs::path& snapshot)
{
    try {
        if (wasChanged(image, hfsplus::FolderSnapshot::load(snapshot)))
            return "the image is attached read-only";
    } catch (const std::exception&) { }
    return {};
}

} // namespace

AttachedVolumes::AttachedVolumes(StateFolder state, Appearance preferred)
    : m_registry(std::move(state))
    , m_preferred(preferred)
{ }

AttachResult AttachedVolumes::attach(const fs::path& image, const AttachOptions& options)
{
    FileIdentity::ofExisting(image); // a missing file is no reason to make folders
    state().make();
    const OpenedImage opened(image, options.access);
    Claim claimed = claim(opened, options);
    AttachResult result{std::move(claimed.image), {}};
    if (!claimed.held)
        return result;

    AttachedImage& entry = result.image;
    const bytes::OnInterruption removal([&] { removeWhileInUse(m_registry, entry); });
    claimed.whole.reset();
    try {
        result.skipped = show(opened, entry);
        const bytes::Uninterrupted settled;
        entry.stage = Stage::mounted;
        save(entry);
    } catch (...) {
        removeWhileInUse(m_registry, entry);
        throw;
    }
    return result;
}

/// Hands back a line for each file that can't be shown.
std::vector<std::string> AttachedVolumes::show(
    const OpenedImage& opened, AttachedImage& entry) const
{
    const fs::path snapshotFile = m_registry.snapshotFile(entry.disk);
    if (m_preferred == Appearance::mounted) {
        hfsplus::LayoutPlan plan(*opened.volume);
        if (mount(opened, plan, entry))
            return std::move(plan.skipped);
    }
    hfsplus::ExtractReport report =
        hfsplus::VolumeExtractor(*opened.volume, entry.folder).extract();
    report.snapshot.save(snapshotFile);
    return std::move(report.skipped);
}

/// False where the host lets nobody mount.
bool AttachedVolumes::mount(
    const OpenedImage& opened, const hfsplus::LayoutPlan& plan, AttachedImage& entry) const
{
    const fs::path serviceFile = m_registry.serviceFile(entry.disk);
    const FileLock service = FileLock::wait(serviceFile);
    const auto snapshot = mounting::mountVolume(*opened.volume, plan,
        {.folder = entry.folder,
            .scratchFolder = m_registry.scratchFolder(entry.disk),
            .serviceDescriptor = service.descriptor(),
            .imageDevice = entry.identity.device,
            .imageInode = entry.identity.inode,
            .device = entry.volumeDevice(),
            .readOnly = !entry.writable});
    if (!snapshot) {
        fs::remove(serviceFile);
        return false;
    }
    entry.isServed = true;
    snapshot->save(m_registry.snapshotFile(entry.disk));
    return true;
}

AttachedVolumes::Claim AttachedVolumes::claim(
    const OpenedImage& opened, const AttachOptions& options) const
{
    for (;;) {
        std::optional<bytes::Uninterrupted> whole(std::in_place);
        std::optional<FileLock> registry = m_registry.lock();
        m_registry.sweep();
        const auto known = attachedAs(opened.facts.identity);
        if (known && !known->writable && opened.facts.writable
            && options.access == Access::readWrite)
            throw VolumeError(VolumeError::Case::attachedAlready);
        if (known && (known->isMounted() || (known->stage == Stage::unmounted && !options.mount)))
            return {*known, std::nullopt, std::nullopt};

        AttachedImage image = opened.facts;
        image.disk = known ? known->disk : m_registry.freeDisk();
        auto held = m_registry.tryLockDisk(image.disk);
        if (!held) {
            // Another tool attaches or detaches this very image: what it leaves decides.
            registry.reset();
            whole.reset();
            m_registry.lockDisk(image.disk);
            continue;
        }
        if (known && known->stage == Stage::writing) // which fails, or it would have been swept
            throw VolumeError(VolumeError::Case::attachedAlready);
        image.attachedAt = std::time(nullptr);
        if (!options.mount) {
            image.stage = Stage::unmounted;
            m_registry.save(image);
            return {std::move(image), std::nullopt, std::nullopt};
        }
        // The folder is chosen first: an entry whose folder isn't there yet is swept like any
        // other, but a folder without an entry would stay for ever.
        chooseFolder(image, options);
        m_registry.save(image);
        try {
            if (image.ownsFolder)
                m_registry.makeFolder(image);
        } catch (...) {
            m_registry.remove(image);
            throw;
        }
        return {std::move(image), std::move(held), std::move(whole)};
    }
}

void AttachedVolumes::chooseFolder(AttachedImage& image, const AttachOptions& options) const
{
    const StateFolder& state = m_registry.state();
    fs::path mountPoint = options.mountPoint;
    if (mountPoint.empty() && !options.mountRoot.empty()) {
        mountPoint = folderBelow(state, mountPointNamed(options.mountRoot), image.volumeName);
    } else if (mountPoint.empty()) {
        const std::string name = mountNameFor(image.volumeName);
        for (unsigned choice = 0;; ++choice) {
            const std::string candidate = numberedName(name, choice);
            image.folder = state.volumes() / candidate;
            image.mountPoint = "/Volumes/" + candidate;
            if (fs::symlink_status(image.folder).type() == fs::file_type::not_found)
                return;
        }
    }
    image.mountPoint = mountPointNamed(mountPoint);
    image.folder = state.hostPath(image.mountPoint);
    image.ownsFolder = image.folder.parent_path() == state.volumes();
    if (image.ownsFolder) {
        if (fs::exists(fs::symlink_status(image.folder)))
            throwError(EBUSY, image.folder);
    } else if (image.folder == state.volumes()) {
        throwError(EBUSY, image.folder);
    } else if (!fs::is_directory(image.folder)) {
        throwError(ENOENT, image.folder);
    } else if (!fs::is_empty(image.folder)) {
        throwError(ENOTEMPTY, image.folder);
    } else {
        image.folder = fs::canonical(image.folder);
    }
}

ReleaseResult AttachedVolumes::release(const AttachedImage& image, const ReleaseOptions& options)
{
    const FileLock held = m_registry.lockDisk(image.disk);
    auto entry = attachedAs(image.identity);
    if (!entry || entry->disk != image.disk
        || (options.keepAttached && entry->stage == Stage::unmounted))
        throw VolumeError(VolumeError::Case::notAttached);

    if (entry->isMounted() && !options.force)
        checkUnused(*entry);
    const bytes::Uninterrupted whole;
    ReleaseResult result;
    try {
        if (entry->isMounted() && entry->writable)
            result.lost = writeBack(*entry, options.fixedTime);
        else if (entry->isMounted() && !entry->isServed)
            result.lost = lostOnReadOnly(*entry, m_registry.snapshotFile(entry->disk));
        else if (entry->stage == Stage::writing)
            m_registry.carryOutChanges(*entry);
    } catch (const std::exception& failure) {
        if (!options.force)
            throw;
        result.lost = failure.what();
    }
    // From here on the folder no longer says what the volume holds: were it taken for a mounted
    // volume after a kill, its missing files would be deleted from the image.
    entry->stage = Stage::discarding;
    save(*entry);
    if (options.keepAttached)
        m_registry.unmount(*entry);
    else
        m_registry.remove(*entry);
    return result;
}

void AttachedVolumes::checkUnused(const AttachedImage& image) const
{
    if (auto process = processUsing(image.folder))
        throw VolumeError(VolumeError::Case::busy, {}, std::move(*process));
    const bool holdsAnother = std::ranges::any_of(m_registry.list(), [&](const auto& other) {
        return other.folder.string().starts_with(image.folder.string() + '/');
    });
    if (holdsAnother || (image.isServed && mounting::isBeingWritten(image.folder)))
        throw VolumeError(VolumeError::Case::busy);
}

std::string AttachedVolumes::writeBack(
    AttachedImage& image, std::optional<uint32_t> fixedTime) const
{
    if (image.isServed) {
        if (!mounting::isMountedAt(image.folder))
            throw VolumeError(VolumeError::Case::outOfSight);
        mounting::writeOut(image.folder);
    }
    const auto before = hfsplus::FolderSnapshot::load(m_registry.snapshotFile(image.disk));
    const auto place = image.currentPlace();
    if (!place)
        return wasChanged(image, before) ? "the image file is gone" : "";
    const udif::DiskImage disk = udif::DiskImage::open(*place);
    ChangeLog changes(disk.disk(), m_registry.changesFile(image.disk));
    bytes::DeviceRange volume(changes, image.volume.start, image.volume.length);
    try {
        hfsplus::VolumeEditor(
            volume, image.folder, before, {.fixedTime = fixedTime, .isUntouched = accountOf(image)})
            .apply();
    } catch (const hfsplus::NoSpaceOnVolume& full) {
        throw VolumeError(VolumeError::Case::full,
            std::to_string(full.neededBytes()) + " bytes needed, "
                + std::to_string(full.freeBytes()) + " free");
    }
    if (changes.empty())
        return {};
    changes.commit();
    image.stage = Stage::writing;
    save(image);
    m_registry.carryOutChanges(image);
    return {};
}

void AttachedVolumes::save(const AttachedImage& image) const
{
    const FileLock registry = m_registry.lock();
    m_registry.save(image);
}

std::optional<AttachedImage> AttachedVolumes::attachedAs(const FileIdentity& identity) const
{
    for (AttachedImage& image : m_registry.list()) {
        if (image.identity == identity)
            return std::move(image);
    }
    return std::nullopt;
}

std::vector<AttachedImage> AttachedVolumes::list() const
{
    if (!state().exists())
        return {};
    const FileLock registry = m_registry.lock();
    m_registry.sweep();
    std::vector<AttachedImage> images = m_registry.list();
    std::erase_if(images, [](const AttachedImage& image) {
        return image.stage == Stage::preparing || image.stage == Stage::discarding;
    });
    return images;
}

AttachedVolumes::Lookup AttachedVolumes::find(const std::string& target) const
{
    if (target.empty() || !state().exists())
        return {};
    const auto device = DeviceName::read(target);
    const std::string mountPoint = mountPointNamed(target);
    const auto meant = [&](const AttachedImage& image) {
        return device ? device->names(image) : image.mountPoint == mountPoint;
    };
    std::vector<AttachedImage> tidied;
    {
        const FileLock registry = m_registry.lock();
        tidied = m_registry.sweep();
    }
    for (AttachedImage& image : list()) {
        if (meant(image))
            return {std::move(image), false};
    }
    for (const AttachedImage& image : tidied) {
        if (meant(image))
            return {std::nullopt, true};
    }
    return {};
}

bool AttachedVolumes::isBeingWritten(const fs::path& image) const
{
    if (!state().exists())
        return false;
    const FileLock registry = m_registry.lock();
    m_registry.sweep();
    const auto identity = FileIdentity::of(image);
    const auto known = identity ? attachedAs(*identity) : std::nullopt;
    return known && known->writable;
}

} // namespace volumes
