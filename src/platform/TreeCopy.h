#pragma once

#include <QString>

#include <atomic>
#include <memory>

/// Copies a file, a link or a folder with all it holds, blocking. Goes by descriptors, so that
/// nothing outside the tree is read even while someone swaps folders for links.
class TreeCopy {
public:
    using StopFlag = std::shared_ptr<const std::atomic<bool>>;

    /// Throws PlatformError at the first entry that can't be copied, and soon after `stop` was
    /// set. Nothing may be at `to`.
    static void run(const QString& from, const QString& to, const StopFlag& stop);
};
