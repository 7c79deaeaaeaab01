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
        build.slackBytes = slackFor(options.folder);
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

/// Tells how far a device is written that is written front to back.
class WatchedDevice final : public bytes::ByteDevice {
public:
    WatchedDevice(bytes::ByteDevice& device, const CreateOptions& options)
        : m_device(device)
        , m_options(options)
    { }
    uint64_t size() const override { return m_device.size(); }
    void readAt(uint64_t offset, std::span<std::byte> out) const override
    {
        m_device.readAt(offset, out);
    }
    void writeAt(uint64_t offset, std::span<const std::byte> in) override
    {
        m_device.writeAt(offset, in);
        const bool isHalf = m_options.format != udif::ImageFormat::UDRW; // conversion follows
        if (m_options.progress)
            m_options.progress(offset + in.size(), isHalf ? 2 * size() : size());
    }

private:
    bytes::ByteDevice& m_device;
    const CreateOptions& m_options;
};

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
    WatchedDevice watched(volume, options);
    builder.write(watched);
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
