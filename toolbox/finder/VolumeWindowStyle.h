#pragma once

#include "finder/AliasRecord.h"
#include "finder/DesktopStore.h"
#include "finder/IconLocation.h"
#include "finder/IconViewSettings.h"
#include "finder/WindowSettings.h"

#include <map>
#include <string>

namespace finder {

/// A rectangle as scripts give it: two corners, in points from the upper left of the main screen,
/// y downward.
struct ScreenRectangle {
    double left = 0, top = 0, right = 0, bottom = 0;

    friend bool operator==(const ScreenRectangle&, const ScreenRectangle&) = default;
};

/// The height that hosts without a screen assume. A Finder moves a window onto the viewer's screen
/// where it would lie outside.
inline constexpr double assumedScreenHeight = 1080;

/// How a volume's own window looks: all that a `.DS_Store` at the volume's root says about it.
struct VolumeWindowStyle {
    struct NameOrder { // as the volume's
        bool operator()(std::u16string_view a, std::u16string_view b) const;
    };

    WindowSettings window;
    IconViewSettings icons;
    FourCC view = "icnv";
    /// By the stored names of the items at the root.
    std::map<std::u16string, IconLocation, NameOrder> positions;

    ScreenRectangle bounds(double screenHeight = assumedScreenHeight) const;
    /// Throws FormatError for a rectangle without an inside.
    void setBounds(const ScreenRectangle& bounds, double screenHeight = assumedScreenHeight);
    void setBackground(const AliasRecord& picture);
    void removeBackground();
    /// `hostName` is spelled as the host does; throws as hfsplus::nameFromHost.
    void setPosition(std::string_view hostName, const IconLocation& location);

    /// What the store says now. What it doesn't say, or says in a way that no Finder understands,
    /// is as for a new window.
    static VolumeWindowStyle readFrom(const DesktopStore& store);

    /// Writes window, view and the positions that changed. All other records stay as they are; a
    /// bookmark of an earlier background goes when the background is another one.
    void applyTo(DesktopStore& store) const;

    friend bool operator==(const VolumeWindowStyle&, const VolumeWindowStyle&) = default;
};

} // namespace finder
