#include "volumes/AttachedImage.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"

#include <cerrno>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <system_error>

namespace volumes {

namespace fs = std::filesystem;
using nlohmann::json;

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(FileIdentity, device, inode, born)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Slice, number, content, typeID, start, length)
NLOHMANN_JSON_SERIALIZE_ENUM(AttachedImage::Stage,
    {
        {AttachedImage::Stage::preparing, "preparing"},
        {AttachedImage::Stage::mounted, "mounted"},
        {AttachedImage::Stage::writing, "writing"},
        {AttachedImage::Stage::discarding, "discarding"},
        {AttachedImage::Stage::unmounted, "unmounted"},
    })
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(AttachedImage, disk, stage, image, identity, imageType, sectors,
    writable, content, slices, volume, volumeName, mountPoint, folder, ownsFolder, isServed,
    createDate, attachedAt)

std::optional<FileIdentity> FileIdentity::of(const fs::path& path)
{
    struct statx status { };
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_INO | STATX_BTIME, &status) != 0)
        return std::nullopt;
    FileIdentity identity{makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_ino, 0};
    if ((status.stx_mask & STATX_BTIME) != 0)
        identity.born = status.stx_btime.tv_sec * 1'000'000'000 + status.stx_btime.tv_nsec;
    return identity;
}

FileIdentity FileIdentity::ofExisting(const fs::path& path)
{
    if (const auto identity = of(path))
        return *identity;
    bytes::throwErrno(path.string());
}

std::string AttachedImage::volumeDevice() const
{
    return volume.number == 0 ? diskName() : diskName() + "s" + std::to_string(volume.number);
}

std::optional<fs::path> AttachedImage::currentPlace() const
{
    if (FileIdentity::of(image) == identity)
        return image;
    std::error_code fault;
    for (fs::directory_iterator entry(image.parent_path(), fault), end; !fault && entry != end;
         entry.increment(fault)) {
        if (FileIdentity::of(entry->path()) == identity)
            return entry->path();
    }
    return std::nullopt;
}

std::string writeAttachedImage(const AttachedImage& image)
{
    try {
        return json(image).dump(1, '\t');
    } catch (const json::type_error&) {
        throw std::system_error(EILSEQ, std::generic_category(), image.image.string());
    }
}

AttachedImage readAttachedImage(const std::string& text)
{
    try {
        return json::parse(text).get<AttachedImage>();
    } catch (const json::exception& damage) {
        throw bytes::FormatError(std::string("not an entry of the registry: ") + damage.what());
    }
}

} // namespace volumes
