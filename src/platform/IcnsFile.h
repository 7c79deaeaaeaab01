#pragma once

#include <QByteArray>
#include <QImage>

#include <optional>
#include <vector>

/// The Mac's icon container: a header, then elements that each hold the picture in one size.
/// Forms with PNG data are handled here; packed planes need Qt's own icns plugin.
class IcnsFile {
public:
    struct Element {
        QByteArray type; // four characters
        QByteArray data;
    };

    /// Nothing unless `icns` is such a container, and whole.
    static std::optional<std::vector<Element>> elements(const QByteArray& icns);
    /// The picture in `pixels` by `pixels` or the next larger size there is, else in the largest;
    /// null when none can be read. Not scaled.
    static QImage image(const QByteArray& icns, int pixels);
    /// A container of all the sizes that `image` fills without being scaled up. A picture that
    /// is not square stands in the middle of a square. Empty for a null image.
    static QByteArray fromImage(const QImage& image);
};
