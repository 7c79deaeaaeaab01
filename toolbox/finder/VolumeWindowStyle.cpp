#include "finder/VolumeWindowStyle.h"

#include "bytes/ByteReader.h"
#include "finder/Bookmark.h"
#include "hfsplus/Names.h"

namespace finder {

namespace {

constexpr FourCC windowCode = "bwsp";
constexpr FourCC iconViewCode = "icvp";
constexpr FourCC viewCode = "vstl";
constexpr FourCC versionCode = "vSrn"; // stands in every store of a Finder
constexpr FourCC locationCode = "Iloc";
constexpr auto volumeWindow = DesktopStore::folderItself;

/// What `read` makes of a record; `otherwise` where there is none or a damaged one, since a
/// Finder discards that too.
template <typename Settings, typename Read>
Settings settingsOf(
    const DesktopStore& store, std::u16string_view name, FourCC code, Settings otherwise, Read read)
{
    const StoreValue* value = store.find(name, code);
    if (!value)
        return otherwise;
    try {
        return read(value->bytes);
    } catch (const bytes::FormatError&) {
        return otherwise;
    }
}

IconViewSettings iconViewOf(const DesktopStore& store)
{
    return settingsOf(store, volumeWindow, iconViewCode, IconViewSettings{}, readIconViewSettings);
}

} // namespace

bool VolumeWindowStyle::NameOrder::operator()(std::u16string_view a, std::u16string_view b) const
{
    return hfsplus::compareNames(a, b) < 0;
}

ScreenRectangle VolumeWindowStyle::bounds(double screenHeight) const
{
    const WindowFrame& frame = window.frame;
    const double bottom = screenHeight - frame.y;
    return {frame.x, bottom - frame.height, frame.x + frame.width, bottom};
}

void VolumeWindowStyle::setBounds(const ScreenRectangle& bounds, double screenHeight)
{
    if (!(bounds.right > bounds.left) || !(bounds.bottom > bounds.top))
        throw bytes::FormatError("a window's bounds need a width and a height");
    window.frame = {bounds.left, screenHeight - bounds.bottom, bounds.right - bounds.left,
        bounds.bottom - bounds.top};
}

void VolumeWindowStyle::setBackground(const AliasRecord& picture)
{
    icons.background = {};
    icons.background.kind = Background::Kind::picture;
    icons.background.alias = writeAlias(picture);
}

void VolumeWindowStyle::setPosition(std::string_view hostName, const IconLocation& location)
{
    positions.insert_or_assign(hfsplus::nameFromHost(hostName), location);
}

void VolumeWindowStyle::removeBackground()
{
    icons.background = {};
}

VolumeWindowStyle VolumeWindowStyle::readFrom(const DesktopStore& store)
{
    VolumeWindowStyle style;
    style.window = settingsOf(store, volumeWindow, windowCode, style.window, readWindowSettings);
    style.icons = iconViewOf(store);
    style.view = settingsOf(store, volumeWindow, viewCode, style.view, [](const auto& raw) {
        const FourCC stored(bytes::ByteReader(raw).u32());
        return stored.value != 0 ? stored : FourCC("icnv"); // zero in some stores: none chosen
    });
    for (const StoreRecord& record : store.records()) {
        if (record.code != locationCode || record.name == volumeWindow)
            continue;
        try {
            style.positions.emplace(record.name, readIconLocation(record.value.bytes));
        } catch (const bytes::FormatError&) {
            continue; // an icon without a place finds its own
        }
    }
    return style;
}

void VolumeWindowStyle::applyTo(DesktopStore& store) const
{
    if (iconViewOf(store).background != icons.background)
        removeBackgroundBookmark(store, volumeWindow);
    store.set(volumeWindow, windowCode, StoreValue::blob(writeWindowSettings(window)));
    store.set(volumeWindow, iconViewCode, StoreValue::blob(writeIconViewSettings(icons)));
    store.set(volumeWindow, versionCode, StoreValue::number(1));
    store.set(volumeWindow, viewCode, StoreValue::code(view));
    const auto present = readFrom(store).positions;
    for (const auto& [name, location] : positions) {
        const auto same = present.find(name);
        if (same == present.end() || same->second != location)
            store.set(name, locationCode, StoreValue::blob(writeIconLocation(location)));
    }
}

} // namespace finder
