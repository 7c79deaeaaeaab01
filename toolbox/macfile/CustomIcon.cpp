#include "macfile/CustomIcon.h"

#include "macfile/ResourceFork.h"

#include <algorithm>

namespace macfile {

namespace {

constexpr ResourceType iconType{'i', 'c', 'n', 's'};
constexpr int16_t customIconID = -16455;

bool isCustomIcon(const Resource& resource)
{
    return resource.type == iconType && resource.id == customIconID;
}

} // namespace

void setCustomIcon(Metadata& metadata, std::span<const std::byte> icns)
{
    auto resources = readResourceFork(metadata.resourceFork);
    std::erase_if(resources, isCustomIcon);
    resources.push_back({.type = iconType,
        .id = customIconID,
        .name = {},
        .attributes = 0,
        .data = {icns.begin(), icns.end()}});
    metadata.resourceFork = writeResourceFork(resources);
    metadata.setFinderFlags(finderFlag::customIcon, true);
}

void clearCustomIcon(Metadata& metadata)
{
    auto resources = readResourceFork(metadata.resourceFork);
    if (std::erase_if(resources, isCustomIcon) > 0)
        metadata.resourceFork =
            resources.empty() ? std::vector<std::byte>{} : writeResourceFork(resources);
    metadata.setFinderFlags(finderFlag::customIcon, false);
}

std::vector<std::byte> customIcon(const Metadata& metadata)
{
    const auto resources = readResourceFork(metadata.resourceFork);
    const auto found = std::ranges::find_if(resources, isCustomIcon);
    return found == resources.end() ? std::vector<std::byte>{} : found->data;
}

} // namespace macfile
