#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace finder {

/// A window's frame as it is stored: points, the origin at the lower left corner of the main
/// screen, y upward. Title bar included.
struct WindowFrame {
    double x = 200, y = 300, width = 770, height = 436;

    friend bool operator==(const WindowFrame&, const WindowFrame&) = default;
};

/// "{{x, y}, {width, height}}"; whole numbers without decimals.
std::string frameText(const WindowFrame& frame);
/// Throws FormatError for any other form.
WindowFrame frameFromText(std::string_view text);

/// The `bwsp` record: frame and bars of a folder's window. The defaults are a new window's.
struct WindowSettings {
    WindowFrame frame;
    bool showToolbar = true;
    bool showStatusBar = false;
    bool showSidebar = false;
    bool containerShowSidebar = false;
    bool showTabView = false;
    bool showPathbar = false;
    bool previewPaneVisibility = false;
    int64_t sidebarWidth = 0;

    friend bool operator==(const WindowSettings&, const WindowSettings&) = default;
};

/// All nine keys, whatever their values: a Finder of any version is content with them.
std::vector<std::byte> writeWindowSettings(const WindowSettings& settings);

/// Keys that are missing leave their defaults. Throws FormatError for a broken list and for a
/// value of the wrong type.
WindowSettings readWindowSettings(std::span<const std::byte> blob);

} // namespace finder
