#include "FuzzFolder.h"
#include "FuzzInput.h"

#include "codesign/DiskImageCode.h"
#include "udif/ChunkedDisk.h"
#include "udif/DiskImage.h"
#include "udif/ImageError.h"
#include "udif/ImageInfo.h"
#include "udif/Udif.h"
#include "udif/Verification.h"

#include <algorithm>

using namespace udif;

namespace {

/// A few hundred bytes may describe gigabytes; decoding more of them finds nothing new.
constexpr uint64_t mostStoredSectors = 4096;

bool isSmall(const Udif& image)
{
    uint64_t sectors = 0;
    for (const BlockTable& table : image.tables)
        for (const Chunk& chunk : table.chunks)
            if (chunk.isStored())
                sectors += std::min(chunk.sectorCount, mostStoredSectors + 1);
    return sectors <= mostStoredSectors;
}

void decode(const bytes::ByteSource& file, const Udif& image)
{
    const ChunkedDisk disk(file, image);
    std::vector<std::byte> part(std::min<uint64_t>(disk.size(), 65536));
    fuzz::accepts([&] { disk.readAt(0, part); });
    fuzz::accepts([&] { disk.readAt(disk.size() - part.size(), part); });
    verifyUdif(file, image, {.threads = 1});
}

} // namespace

// A whole disk image: trailer, property list, tables, chunks, and the map of the disk inside.
FUZZ_TARGET(udif, input)
{
    static const fuzz::FuzzFolder folder;
    const bytes::MemoryDevice file(fuzz::copyOf(input));
    bool small = false;
    fuzz::accepts([&] {
        const Udif image = readUdif(file);
        small = isSmall(image);
        if (small)
            decode(file, image);
    });
    fuzz::accepts([&] { codesign::DiskImageCode::read(file); });
    if (small) {
        const auto path = folder.write("image.dmg", input);
        fuzz::accepts<ImageError>([&] { infoOf(DiskImage::open(path)); });
    }
}
