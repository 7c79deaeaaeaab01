#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>

/// Where things lie in the preview of an image's window. Points; y grows downwards.
namespace PreviewGeometry {

/// By how much the window is scaled to stand in `area` with a margin around it; 0 for a window
/// or an area without extent.
double scaleFor(const QSizeF& area, const QSizeF& window);
/// The scaled window in the middle of `area`.
QRectF windowIn(const QSizeF& area, const QSizeF& window);
/// The box that holds an icon and its label, about the icon's position in the window.
QRectF iconBox(const QPointF& position, double iconSize);
/// Within its box: the picture, with room for the label below it.
QRectF iconPicture(const QRectF& box, double iconSize, double labelHeight);

inline constexpr double labelGap = 4; // between picture and label

} // namespace PreviewGeometry
