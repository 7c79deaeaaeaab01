#include "FuzzInput.h"

#include "finder/Bookmark.h"
#include "finder/StoreChecker.h"
#include "finder/StoreReader.h"
#include "finder/StoreWriter.h"
#include "finder/VolumeWindowStyle.h"

using namespace finder;

// A `.DS_Store`: read, checked, understood as a window's style and written anew.
FUZZ_TARGET(desktop_store, input)
{
    checkStore(input,
        {.volumeName = "Demo",
            .rootNames = {u"Demo.app", u"Applications"},
            .fileAt = [](const std::string&) { return std::optional(19U); }});
    fuzz::accepts([&] {
        DesktopStore store = readStore(input);
        if (const auto bookmark = backgroundBookmark(store, u"."); !bookmark.empty())
            fuzz::accepts([&] { readBookmark(bookmark); });

        VolumeWindowStyle style = VolumeWindowStyle::readFrom(store);
        style.bounds();
        style.setPosition("Demo.app", {1, 2});
        style.applyTo(store);
        fuzz::insist(readStore(writeStore(store)) == store, "a store that was written reads back");
    });
}
