#pragma once

#include <QString>

#include <array>
#include <optional>

/// How the two icons of the image's window are arranged.
enum class IconLayout { centered, classic, custom };

/// In the order in which the choices are offered.
inline constexpr std::array allIconLayouts{
    IconLayout::centered, IconLayout::classic, IconLayout::custom};

/// Where an arrangement puts the icons, in fractions of the window's width and height.
struct IconPlaces {
    double appX;
    double linkX;
    double y;
};

/// The layout's display name, which is also its identity.
QString rawValue(IconLayout layout);
/// The layout of exactly this display name.
std::optional<IconLayout> iconLayoutFromRawValue(const QString& text);
/// Nothing for `custom`, which leaves the icons where they are.
std::optional<IconPlaces> placesOf(IconLayout layout);
