#pragma once

#include "volumes/AttachedImage.h"
#include "volumes/FileLock.h"
#include "volumes/StateFolder.h"

#include <functional>
#include <optional>
#include <vector>

namespace volumes {

/// The attached images of one user, one file each, so that every change is one rename. Several
/// tools use it at once: whoever reads and then decides holds `lock`, whoever works on one image
/// for longer holds that image's `lockDisk`, and never waits for a disk while holding the registry.
class AttachmentRegistry {
public:
    static constexpr unsigned firstDisk = 4; // a Mac's own disks come first

    explicit AttachmentRegistry(StateFolder state);

    const StateFolder& state() const { return m_state; }

    /// Held for moments only.
    FileLock lock() const;
    FileLock lockDisk(unsigned disk) const;
    std::optional<FileLock> tryLockDisk(unsigned disk) const;

    /// All entries by number. Unreadable ones are left out.
    std::vector<AttachedImage> list() const;
    /// The lowest number that no entry has, claimed by its file. Under `lock`.
    unsigned freeDisk() const;
    void save(const AttachedImage& image) const;
    /// Makes the empty folder of an image that owns it. Throws std::system_error.
    void makeFolder(const AttachedImage& image) const;
    /// Takes the entry and all that belongs to it away, the mounted folder first.
    void remove(const AttachedImage& image) const;
    /// The same without the entry, which stays as an image that is attached and not mounted.
    void unmount(AttachedImage& image) const;

    /// What the process that serves a mounted volume keeps locked; it ends when the file is gone.
    std::filesystem::path serviceFile(unsigned disk) const;
    /// Where the state of the files at attach time is kept.
    std::filesystem::path snapshotFile(unsigned disk) const;
    /// Where the files of a mounted volume lie that were written to.
    std::filesystem::path scratchFolder(unsigned disk) const;
    /// Where the changes to an image lie that is in the stage `writing`.
    std::filesystem::path changesFile(unsigned disk) const;
    /// Writes them to the image, from the beginning if need be; they go with an image that is gone.
    void carryOutChanges(const AttachedImage& image) const;

    /// Finishes or removes what killed tools left behind, and entries that have lost their folder
    /// or, unmounted, their image. Hands back the entries that went. Under `lock`.
    std::vector<AttachedImage> sweep() const;

    /// The file that stands for an entry.
    std::filesystem::path entryFile(unsigned disk) const;

private:
    std::filesystem::path lockFile(unsigned disk) const;
    std::vector<unsigned> disks() const;
    std::optional<AttachedImage> load(unsigned disk) const;
    bool isStale(const AttachedImage& image) const;
    bool finish(const AttachedImage& image) const;
    void removeUnfinishedFiles() const;
    std::filesystem::path ownFolder(const std::filesystem::path& folder) const;
    bool isServedNow(unsigned disk) const;
    void endService(const AttachedImage& image) const;
    void discardFolder(const AttachedImage& image) const;

    StateFolder m_state;
};

} // namespace volumes
