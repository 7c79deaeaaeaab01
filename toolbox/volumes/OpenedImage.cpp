#include "volumes/OpenedImage.h"

#include "bytes/File.h"
#include "hfsplus/VolumeEditor.h"
#include "volumes/VolumeError.h"

#include <unistd.h>

namespace volumes {

namespace fs = std::filesystem;

namespace {

Slice sliceOf(const udif::Partition& partition)
{
    return {partition.slice, partition.type, partition.typeID,
        partition.firstSector * udif::sectorBytes, partition.sectorCount * udif::sectorBytes};
}

bool mayWrite(const udif::DiskImage& disk, Access access)
{
    if (disk.format().format != udif::ImageFormat::UDRW || access == Access::readOnly)
        return false;
    if (::access(disk.path().c_str(), W_OK) == 0)
        return true;
    if (access == Access::readWrite)
        bytes::throwErrno(disk.path().string());
    return false;
}

} // namespace

OpenedImage::OpenedImage(const fs::path& path, Access access)
    : disk(udif::DiskImage::open(path))
{
    const udif::PartitionMap& map = disk.partitions();
    const udif::Partition* mountable = map.hfsPlusPartition();
    if (mountable == nullptr)
        throw VolumeError(VolumeError::Case::noMountableFileSystems);

    facts.image = path;
    facts.identity = FileIdentity::ofExisting(path);
    facts.imageType = disk.format().imageType;
    facts.sectors = disk.sectorCount();
    facts.content = udif::contentOf(map.scheme);
    if (map.scheme != udif::PartitionScheme::bare) {
        for (const udif::Partition& each : map.partitions)
            facts.slices.push_back(sliceOf(each));
    }
    facts.volume = sliceOf(*mountable);

    partition.emplace(disk.disk(), facts.volume.start, facts.volume.length);
    volume.emplace(*partition);
    facts.writable = mayWrite(disk, access) && hfsplus::canBeEdited(*volume);
    facts.volumeName = volume->name();
    facts.createDate = volume->header().createDate;
}

} // namespace volumes
