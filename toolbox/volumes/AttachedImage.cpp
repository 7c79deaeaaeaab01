#include "volumes/AttachedImage.h"

#include "bytes/FormatError.h"

#include <cerrno>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <system_error>

namespace volumes {

namespace fs = std::filesystem;
using nlohmann::json;

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(FileIdentity, device, inode)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Slice, number, content, typeID, start, length)
NLOHMANN_JSON_SERIALIZE_ENUM(AttachedImage::Stage,
    {
        {AttachedImage::Stage::preparing, "preparing"},
        {AttachedImage::Stage::mounted, "mounted"},
        {AttachedImage::Stage::discarding, "discarding"},
        {AttachedImage::Stage::unmounted, "unmounted"},
    })
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(AttachedImage, disk, stage, image, identity, imageType, sectors,
    writable, content, slices, volume, volumeName, mountPoint, folder, ownsFolder, createDate,
    attachedAt)

std::optional<FileIdentity> FileIdentity::of(const fs::path& path)
{
    struct stat status { };
    if (::stat(path.c_str(), &status) != 0)
        return std::nullopt;
    return FileIdentity{status.st_dev, status.st_ino};
}

std::string AttachedImage::volumeDevice() const
{
    return volume.number == 0 ? diskName() : diskName() + "s" + std::to_string(volume.number);
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
