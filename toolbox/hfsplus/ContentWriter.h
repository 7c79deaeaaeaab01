#pragma once

#include "bytes/ByteDevice.h"
#include "hfsplus/ContentPlan.h"

#include <functional>
#include <vector>

namespace hfsplus {

/// Copies the forks of a planned volume from the host, on several threads: each takes portions of
/// the content, which lie one behind the other on the volume. Throws SourceError that names the
/// file when one is gone, unreadable, or not as long as it was when it was scanned.
class ContentWriter {
public:
    /// Bytes of the content written, and to be written in all. Called by the calling thread.
    using Progress = std::function<void(uint64_t done, uint64_t inAll)>;

    /// `contentStart` is the volume's offset, in bytes, of the plan's first block. The volume
    /// reads as zeros there.
    ContentWriter(const ContentPlan& plan, bytes::ByteDevice& volume, uint64_t contentStart);

    void writeAll(const Progress& progress) const;

private:
    class Thread;

    /// Some small objects, or a part of a large one's data fork.
    struct Portion {
        uint32_t first = 0; // index of an object
        uint32_t end = 0;
        uint64_t start = 0; // of a large data fork, bytes
        uint64_t length = 0; // of what is copied, bytes
    };

    std::vector<Portion> portions() const;

    const ContentPlan& m_plan;
    bytes::ByteDevice& m_volume;
    uint64_t m_contentStart;
};

} // namespace hfsplus
