#pragma once

#include "bytes/ByteDevice.h"
#include "hfsplus/FolderChanges.h"
#include "hfsplus/Volume.h"

#include <optional>
#include <stdexcept>

namespace hfsplus {

/// The volume has fewer free blocks than a change takes. Nothing was written.
class NoSpaceOnVolume : public std::runtime_error {
public:
    NoSpaceOnVolume(uint64_t neededBytes, uint64_t freeBytes);

    uint64_t neededBytes() const { return m_neededBytes; }
    uint64_t freeBytes() const { return m_freeBytes; }

private:
    uint64_t m_neededBytes, m_freeBytes;
};

/// False when a volume can only be read: its header is damaged, its journal has entries, its bitmap
/// is too short or a tree is out of order, so that VolumeEditor would refuse every change.
bool canBeEdited(const Volume& volume);

struct EditReport {
    uint32_t added = 0, changed = 0, removed = 0; // files, folders and links
    uint64_t bytesWritten = 0;
    bool wroteAnything() const { return bytesWritten > 0; }
};

struct EditOptions {
    /// The time of the edit, in seconds since 1904, and the latest date that what is added or
    /// changed gets; the clock's and any when absent.
    std::optional<uint32_t> fixedTime;
    /// For hosts that keep account of changes; else all is looked at.
    UntouchedFolder isUntouched{};
};

/// Brings a volume up to date with the folder that it was laid out in: finds what was added,
/// changed, removed or renamed since the snapshot and writes that back in place. Everything else,
/// untouched file data above all, stays where it is.
class VolumeEditor {
public:
    /// Borrows all three for its lifetime.
    VolumeEditor(bytes::ByteDevice& volume, std::filesystem::path folder,
        const FolderSnapshot& snapshot, EditOptions options = {});

    /// Plans first and writes then: when it throws while planning, the volume is as it was.
    /// Throws NoSpaceOnVolume; bytes::FormatError for a damaged volume, one whose journal has
    /// entries, and names that can't share a folder; std::system_error when the host fails.
    EditReport apply();

private:
    bytes::ByteDevice& m_volume;
    std::filesystem::path m_folder;
    const FolderSnapshot& m_snapshot;
    EditOptions m_options;
};

} // namespace hfsplus
