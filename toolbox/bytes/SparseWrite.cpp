#include "bytes/SparseWrite.h"

#include "bytes/Zeros.h"

#include <algorithm>

namespace bytes {

void writeSparsely(ByteDevice& device, uint64_t offset, std::span<const std::byte> data)
{
    constexpr std::size_t page = 4096; // what a sparse file allocates at least
    std::size_t runStart = 0;
    const auto writeRun = [&](std::size_t end) {
        if (runStart < end)
            device.writeAt(offset + runStart, data.subspan(runStart, end - runStart));
    };
    for (std::size_t at = 0; at < data.size(); at += page) {
        const std::size_t size = std::min(page, data.size() - at);
        if (!isZero(data.subspan(at, size)))
            continue;
        writeRun(at);
        runStart = at + size;
    }
    writeRun(data.size());
}

} // namespace bytes
