#include "volumes/MountedVolume.h"

#include "bytes/ByteDevice.h"
#include "hfsplus/Volume.h"
#include "udif/DiskImage.h"
#include "volumes/AttachmentRegistry.h"

namespace volumes {

namespace fs = std::filesystem;

std::vector<MountedVolume> mountedVolumes(const StateFolder& state)
{
    std::vector<MountedVolume> mounted;
    if (!state.exists())
        return mounted;
    for (AttachedImage& image : AttachmentRegistry(state).list()) {
        if (!image.isMounted())
            continue;
        mounted.push_back({std::move(image.volumeName), std::move(image.mountPoint),
            std::move(image.folder), std::move(image.image), image.volume.start,
            image.volume.length, image.writable, image.createDate});
    }
    return mounted;
}

std::optional<ItemIdentity> identityOf(const MountedVolume& volume, const fs::path& path)
{
    const udif::DiskImage image = udif::DiskImage::open(volume.image);
    const bytes::SourceRange partition(image.disk(), volume.partitionStart, volume.partitionLength);
    const hfsplus::Volume files(partition);
    const fs::path normal = path.lexically_normal();
    const auto entry = files.find(normal == "." ? "" : normal.generic_string());
    if (!entry)
        return std::nullopt;
    return ItemIdentity{entry->id, entry->parent, entry->dates.create};
}

} // namespace volumes
