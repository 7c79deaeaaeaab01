#include "hfsplus/SystemMetadata.h"

#include <algorithm>

namespace hfsplus {

namespace {

struct HiddenRange {
    std::size_t start, length;
    bool ofSymlinksOnly;
};
constexpr HiddenRange hiddenRanges[] = {
    {0, 8, true}, // type and creator
    {16, 8, false}, // document number, date of adding
    {28, 4, false}, // write count
};

} // namespace

bool isSystemAttribute(std::u16string_view name)
{
    return name.starts_with(u"com.apple.system.") || name == u"com.apple.decmpfs";
}

FinderInfoBytes visibleFinderInfo(const FinderInfoBytes& stored, bool symlink)
{
    return storedFinderInfo(stored, {}, symlink);
}

FinderInfoBytes storedFinderInfo(
    const FinderInfoBytes& visible, const FinderInfoBytes& before, bool symlink)
{
    FinderInfoBytes out = visible;
    for (const HiddenRange& range : hiddenRanges)
        if (symlink || !range.ofSymlinksOnly)
            std::copy_n(before.begin() + range.start, range.length, out.begin() + range.start);
    return out;
}

} // namespace hfsplus
