#include "volumes/ImageCreator.h"

#include "bytes/File.h"
#include "hfsplus/VolumeBuilder.h"
#include "udif/DiskImage.h"
#include "udif/GuidPartitionTable.h"
#include "udif/ImageConverter.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace volumes {

namespace fs = std::filesystem;

namespace {

constexpr uint64_t leastSlack = uint64_t{8} << 20;
constexpr unsigned slackPercent = 10;

/// Neither half of a volume's identifier may be zero.
uint64_t volumeIDFrom(uint64_t seed)
{
    return seed | 0x0000'0001'0000'0001;
}

/// The sectors of a disk that hold no volume.
uint64_t sectorsAround(const CreateOptions& options)
{
    return options.partitioned ? udif::SingleVolumeDisk{}.diskSectors() : 0;
}

hfsplus::BuildOptions buildOptionsFrom(const CreateOptions& options)
{
    hfsplus::BuildOptions build;
    build.volumeName = options.volumeName;
    if (options.diskBytes == 0) {
        build.slackBytes = leastSlack;
        build.slackPercent = slackPercent;
    } else {
        const uint64_t around = sectorsAround(options) * udif::sectorBytes;
        if (options.diskBytes <= around)
            throw std::system_error(ENOSPC, std::generic_category());
        build.volumeBytes = options.diskBytes - around;
    }
    build.fixedTime = options.fixedTime;
    build.volumeID = volumeIDFrom(options.identifierSeed);
    return build;
}

/// What an empty volume is made of. Goes as soon as it was looked at.
class EmptyFolder {
public:
    EmptyFolder()
        : m_path((fs::temp_directory_path() / "vandor-XXXXXX").string())
    {
        if (::mkdtemp(m_path.data()) == nullptr || ::chmod(m_path.c_str(), 0755) != 0)
            bytes::throwErrno(m_path);
    }
    ~EmptyFolder() { ::rmdir(m_path.c_str()); }
    EmptyFolder(const EmptyFolder&) = delete;
    EmptyFolder& operator=(const EmptyFolder&) = delete;

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

std::unique_ptr<hfsplus::VolumeBuilder> builderFor(const CreateOptions& options)
{
    if (!options.folder.empty())
        return std::make_unique<hfsplus::VolumeBuilder>(options.folder, buildOptionsFrom(options));
    const EmptyFolder nothing;
    return std::make_unique<hfsplus::VolumeBuilder>(nothing.path(), buildOptionsFrom(options));
}

void writeDisk(bytes::File& disk, hfsplus::VolumeBuilder& builder, const CreateOptions& options)
{
    uint64_t firstSector = 0;
    if (options.partitioned) {
        udif::SingleVolumeDisk plan;
        plan.volumeSectors = builder.volumeBytes() / udif::sectorBytes;
        plan.diskID = udif::Guid::derived(options.identifierSeed);
        plan.partitionID = udif::Guid::derived(~options.identifierSeed);
        disk.resize(plan.diskSectors() * udif::sectorBytes);
        udif::writeGuidPartitionTable(disk, plan);
        firstSector = plan.volumeFirstSector;
    } else {
        disk.resize(builder.volumeBytes());
    }
    bytes::DeviceRange volume(disk, firstSector * udif::sectorBytes, builder.volumeBytes());
    builder.write(volume, [&options](uint64_t done, uint64_t inAll) {
        const bool isHalf = options.format != udif::ImageFormat::UDRW; // conversion follows
        if (options.progress)
            options.progress(done, isHalf ? 2 * inAll : inAll);
    });
}

} // namespace

void createImage(const fs::path& target, const CreateOptions& options)
{
    udif::requireWritable(options.format);
    if (!options.folder.empty() && !fs::is_directory(options.folder)) {
        const int fault = fs::exists(options.folder) ? ENOTDIR : ENOENT;
        throw std::system_error(fault, std::generic_category(), options.folder.string());
    }
    if (!options.replace && fs::exists(fs::symlink_status(target)))
        throw std::system_error(EEXIST, std::generic_category(), target.string());

    // The folder is read before the image begins: the image may be meant to lie in it.
    const auto builder = builderFor(options);
    bytes::OutputFile output(target, bytes::OutputFile::Until::nameless);
    writeDisk(output.file(), *builder, options);
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
    if (options.progress)
        convert.progress = [&options](uint64_t done, uint64_t inAll) {
            options.progress(inAll + done, 2 * inAll);
        };
    udif::convertImage(udif::DiskImage::open(raw), target, convert);
}

} // namespace volumes
