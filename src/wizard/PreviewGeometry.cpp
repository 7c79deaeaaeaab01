#include "wizard/PreviewGeometry.h"

#include <algorithm>

namespace PreviewGeometry {

double scaleFor(const QSizeF& area, const QSizeF& window)
{
    if (area.isEmpty() || window.isEmpty())
        return 0;
    constexpr double share = 0.9; // of the area
    return share * std::min(area.width() / window.width(), area.height() / window.height());
}

QRectF windowIn(const QSizeF& area, const QSizeF& window)
{
    const QSizeF size = window * scaleFor(area, window);
    return {QPointF((area.width() - size.width()) / 2, (area.height() - size.height()) / 2), size};
}

QRectF iconBox(const QPointF& position, double iconSize)
{
    const QSizeF size(iconSize + 40, iconSize + 30);
    return {position - QPointF(size.width() / 2, size.height() / 2), size};
}

QRectF iconPicture(const QRectF& box, double iconSize, double labelHeight)
{
    const double height = iconSize + labelGap + labelHeight;
    return {box.center().x() - iconSize / 2, box.center().y() - height / 2, iconSize, iconSize};
}

} // namespace PreviewGeometry
