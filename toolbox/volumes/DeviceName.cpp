#include "volumes/DeviceName.h"

#include "volumes/AttachedImage.h"

#include <algorithm>
#include <charconv>

namespace volumes {

namespace {

/// Skips the number that `text` begins with; none where there is no such.
std::optional<unsigned> takeNumber(std::string_view& text)
{
    unsigned number = 0;
    const char* last = text.data() + text.size();
    const auto [end, fault] = std::from_chars(text.data(), last, number);
    if (fault != std::errc{})
        return std::nullopt;
    text = {end, last};
    return number;
}

} // namespace

std::optional<DeviceName> DeviceName::read(std::string_view text)
{
    for (const std::string_view prefix : {"/dev/", "disk"}) {
        if (text.starts_with(prefix))
            text.remove_prefix(prefix.size());
        else if (prefix == "disk")
            return std::nullopt;
    }
    const auto disk = takeNumber(text);
    if (!disk || text.empty())
        return disk ? std::optional(DeviceName{*disk, std::nullopt}) : std::nullopt;
    if (text.front() != 's')
        return std::nullopt;
    text.remove_prefix(1);
    const auto slice = takeNumber(text);
    return slice && text.empty() ? std::optional(DeviceName{*disk, slice}) : std::nullopt;
}

bool DeviceName::names(const AttachedImage& image) const
{
    return image.disk == disk
        && (!slice
            || std::ranges::find(image.slices, *slice, &Slice::number) != image.slices.end());
}

} // namespace volumes
