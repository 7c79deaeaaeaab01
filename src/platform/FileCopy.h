#pragma once

#include <atomic>
#include <sys/stat.h>

/// The parts of copying one file, by descriptors. Each returns false with `errno` where it fails.
class FileCopy {
public:
    /// All bytes, to an empty file; shared or moved inside the kernel where the file system can.
    /// Holes stay holes.
    /// ECANCELED soon after `stop` (which may be null) was set.
    static bool contents(int source, int target, const std::atomic<bool>* stop);
    /// The extended attributes of the user's. Those that the target's file system has no room
    /// for fail; where it knows none at all they are dropped.
    static bool attributes(int source, int target);
    /// Permissions and times. Comes last: it may take the right to write away.
    static bool status(int target, const struct stat& status);

    static timespec accessed(const struct stat& status);
    static timespec modified(const struct stat& status);
};
