#pragma once

#include <QSize>
#include <QString>

#include <optional>

/// Pictures for windows that are looked at on screens of either density. The Finder draws a
/// picture unscaled, one pixel being 72/DPI points, and takes from a TIFF file with two pictures
/// the one that suits the screen.
class RetinaPicture {
public:
    /// The picture that lies beside the one at `path` for screens of double density, "bg@2x.png"
    /// beside "bg.png".
    static std::optional<QString> doubleOf(const QString& path);
    /// How many points the Finder gives the picture, rounded; none for one that can't be read.
    static std::optional<QSize> sizeInPoints(const QString& path);

    /// Writes both pictures to one TIFF file at `output`, of 72 and 144 DPI, with their
    /// transparency and colour space. Throws PlatformError, also when `path2x` isn't exactly twice
    /// as wide and high.
    static void combine(const QString& path, const QString& path2x, const QString& output);
};
