#include "volumes/ImageCreator.h"

#include "bytes/File.h"
#include "hfsplus/VolumeBuilder.h"
#include "udif/DiskImage.h"
#include "udif/GuidPartitionTable.h"
#include "udif/ImageConverter.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace volumes {

namespace fs = std::filesystem;

namespace {

/// Of the data forks, which are nearly all of it. What can't be read is the scan's to report.
uint64_t bytesIn(const fs::path& folder)
{
    uint64_t sum = 0;
    std::error_code fault;
    for (fs::recursive_directory_iterator
             entry(folder, fs::directory_options::skip_permission_denied, fault),
         end;
         !fault && entry != end; entry.increment(fault)) {
        std::error_code unreadable;
        if (entry->is_regular_file(unreadable) && !entry->is_symlink(unreadable)) {
            const uint64_t size = entry->file_size(unreadable);
            sum += unreadable ? 0 : size;
        }
    }
    return sum;
}

uint64_t slackFor(const fs::path& folder)
{
    constexpr uint64_t leastSlack = uint64_t{8} << 20;
    return std::max(leastSlack, bytesIn(folder) / 10);
}

/// Neither half of a volume's identifier may be zero.
uint64_t volumeIDFrom(uint64_t seed)
{
    return seed | 0x0000'0001'0000'0001;
}

hfsplus::BuildOptions buildOptionsFrom(const CreateOptions& options)
{
    hfsplus::BuildOptions build;
    build.volumeName = options.volumeName;
    build.slackBytes = slackFor(options.folder);
    build.fixedTime = options.fixedTime;
    build.volumeID = volumeIDFrom(options.identifierSeed);
    return build;
}

void writeDisk(bytes::File& disk, hfsplus::VolumeBuilder& builder, uint64_t identifierSeed)
{
    udif::SingleVolumeDisk plan;
    plan.volumeSectors = builder.volumeBytes() / udif::sectorBytes;
    plan.diskID = udif::Guid::derived(identifierSeed);
    plan.partitionID = udif::Guid::derived(~identifierSeed);
    disk.resize(plan.diskSectors() * udif::sectorBytes);
    udif::writeGuidPartitionTable(disk, plan);
    bytes::DeviceRange volume(
        disk, plan.volumeFirstSector * udif::sectorBytes, builder.volumeBytes());
    builder.write(volume);
}

} // namespace

void createImage(const fs::path& target, const CreateOptions& options)
{
    udif::requireWritable(options.format);
    if (!fs::is_directory(options.folder)) {
        const int fault = fs::exists(options.folder) ? ENOTDIR : ENOENT;
        throw std::system_error(fault, std::generic_category(), options.folder.string());
    }
    if (!options.replace && fs::exists(fs::symlink_status(target)))
        throw std::system_error(EEXIST, std::generic_category(), target.string());

    // The folder is read before the image begins: the image may be meant to lie in it.
    hfsplus::VolumeBuilder builder(options.folder, buildOptionsFrom(options));
    bytes::OutputFile output(target, bytes::OutputFile::Until::nameless);
    writeDisk(output.file(), builder, options.identifierSeed);
    if (options.format == udif::ImageFormat::UDRW) {
        output.commit(options.replace);
        return;
    }
    // The raw disk never gets a name of its own: it goes when it has been converted.
    const fs::path raw = "/proc/self/fd/" + std::to_string(output.file().descriptor());
    udif::ConvertOptions convert;
    convert.format = options.format;
    convert.level = options.level;
    convert.replace = options.replace;
    udif::convertImage(udif::DiskImage::open(raw), target, convert);
}

} // namespace volumes
