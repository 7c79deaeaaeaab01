#include "Seeds.h"

#include "../toolbox/finder/Samples.h"
#include "bytes/ByteWriter.h"
#include "finder/StoreWriter.h"
#include "macfile/AppleDouble.h"
#include "macfile/CustomIcon.h"
#include "macfile/ResourceFork.h"

using namespace finder;

namespace fuzz {

namespace {

void addStores(const Seeds& seeds)
{
    const VolumeWindowStyle style = samples::demoStyle();
    DesktopStore store;
    style.applyTo(store);
    seeds.add("desktop_store", "sound-window", writeStore(store));
    store.set(u".", "pBBk", StoreValue::blob(samples::demoBookmark()));
    // Enough for a tree of two levels.
    for (char16_t i = 0; i < 40; ++i)
        store.set(std::u16string(60, u'a' + i), "cmmt", {"ustr", std::vector<std::byte>(24)});
    seeds.add("desktop_store", "sound-two-levels", writeStore(store));
    seeds.add("desktop_store", "sound-empty", writeStore({}));

    seeds.add("alias", "sound-picture", writeAlias(aliasTo(samples::demoPicture())));
    seeds.add("bookmark", "sound-picture", samples::demoBookmark());
    seeds.add("view_settings", "sound-window", writeWindowSettings(style.window));
    seeds.add("view_settings", "sound-icons", writeIconViewSettings(style.icons));
    seeds.add("property_list", "sound-binary", writeIconViewSettings(style.icons));
}

std::vector<std::byte> iconFamily()
{
    bytes::ByteWriter out;
    out.text("icns");
    out.u32(8 + 8 + 16 + 8 + 20);
    for (const auto& [type, size] : {std::pair{"TOC ", 16U}, std::pair{"ic10", 20U}}) {
        out.text(type);
        out.u32(8 + size);
        out.zeros(size);
    }
    return out.take();
}

void addForks(const Seeds& seeds)
{
    const auto icns = iconFamily();
    seeds.add("icon_family", "sound-icon", icns);

    const std::vector<macfile::Resource> resources{
        {{'i', 'c', 'n', 's'}, -16455, std::nullopt, 0, icns},
        {{'T', 'E', 'X', 'T'}, 128, "greeting", 4, std::vector<std::byte>(9, std::byte{'x'})},
        {{'T', 'E', 'X', 'T'}, 129, "", 0, {}}};
    seeds.add("resource_fork", "sound-fork", writeResourceFork(resources));
    seeds.add("resource_fork", "sound-filler", macfile::fillerFork());

    macfile::Metadata metadata;
    setCustomIcon(metadata, icns);
    seeds.add("apple_double", "sound-icon", writeAppleDouble(metadata));
    metadata.attributes["com.apple.quarantine"].assign(30, std::byte{'q'});
    metadata.attributes["com.example.other"].assign(300, std::byte{'o'});
    seeds.add("apple_double", "sound-attributes", writeAppleDouble(metadata));
}

void addScripts(const Seeds& seeds)
{
    seeds.add("script", "sound-layout", R"(-- lays a window out
tell application "Finder"
    open (POSIX file "/Volumes/Demo") as alias
    set w to container window of disk "Demo"
    tell w
        set current view to icon view
        set toolbar visible to false
        set the bounds to {400, 100, 1000, 500}
    end tell
    set theOptions to icon view options of w
    tell theOptions
        set arrangement to not arranged
        set icon size to 128
        set background picture to (POSIX file "/Volumes/Demo/.background/bg.png") as alias
    end tell
    set t to target of w
    set target of w to container of t
    set target of w to t
    try
        set position of item "Demo.app" of disk "Demo" to {140, 178}
    end try
    update disk "Demo" without registering applications
    delay 2
    close w
end tell
)");
    seeds.add("script", "sound-language", R"(set found to false
set x to {1, 2.5, "text" & 3, {true, missing value}}
repeat with i from 1 to 10 by 3
    try
        if i = 4 then
            error "four" number -4
        else if i is not equal to 7 then
            set found to (i as string) & "!"
        else
            exit repeat
        end if
    on error message number n
        set found to message & n (* a comment *)
    end try
end repeat
repeat 3 times
    set found to found & "\"\\"
end repeat
found
)");
    seeds.add("script", "sound-objects", R"(tell application "Finder"
    open disk "Demo"
    set p to (POSIX file "/Volumes/Demo/.background/bg.png") as alias
    set background picture of icon view options of container window of disk "Demo" to p
    exists disk 1
    name of disk "Demo"
end tell
)");
}

} // namespace

void addFinderSeeds(const Seeds& seeds)
{
    addStores(seeds);
    addForks(seeds);
    addScripts(seeds);
}

} // namespace fuzz
