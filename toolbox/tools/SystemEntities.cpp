#include "tools/SystemEntities.h"

#include "volumes/AttachedImage.h"

namespace tools {

namespace {

plist::Dictionary entity(const std::string& device, const std::string& content,
    const std::string& unmappedContent, bool holdsVolume, const std::string& mountPoint)
{
    plist::Dictionary result{
        {"content-hint", content},
        {"dev-entry", "/dev/" + device},
        {"potentially-mountable", holdsVolume},
        {"unmapped-content-hint", unmappedContent},
    };
    if (holdsVolume)
        result["volume-kind"] = "hfs";
    if (holdsVolume && !mountPoint.empty())
        result["mount-point"] = mountPoint;
    return result;
}

} // namespace

plist::Array systemEntities(const volumes::AttachedImage& image)
{
    const std::string disk = image.diskName();
    plist::Array result{
        entity(disk, image.content, image.content, image.slices.empty(), image.mountPoint)};
    for (const volumes::Slice& slice : image.slices) {
        result.emplace_back(entity(disk + "s" + std::to_string(slice.number), slice.content,
            slice.typeID, slice.number == image.volume.number, image.mountPoint));
    }
    return result;
}

} // namespace tools
