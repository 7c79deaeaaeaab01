#pragma once

#include <QString>

/// Removes a file, a link or a folder with all it holds, blocking. Goes by descriptors, so that
/// nothing outside the tree is touched even while someone swaps folders for links. Disk images'
/// volumes that are mounted in it are unmounted first.
class TreeRemoval {
public:
    /// Throws PlatformError at the first entry that can't be removed.
    static void run(const QString& path);
};
