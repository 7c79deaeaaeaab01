#pragma once

#include "model/DMGConfig.h"

#include <QString>

#include <optional>

/// The AppleScript that gives the mounted volume's Finder window its look: icon view, size, icon
/// and text size, background, icon places. Pure: the same inputs make the same text.
///
/// The window stands at the screen point (400, 100). Values are inserted as they are, without any
/// escaping, so a double quotation mark in a name makes a text that doesn't compile.
/// `backgroundPath` is relative to the volume's root; without one the window has no picture.
/// Coordinates lose their fraction; a y is written 22 points higher than the job says.
QString finderLayoutScript(const QString& mountPoint, const QString& volumeName,
    const DMGConfig& job, const std::optional<QString>& backgroundPath);
