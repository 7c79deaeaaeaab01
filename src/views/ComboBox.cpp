#include "views/ComboBox.h"

#include "views/Theme.h"

#include <QPainter>

void ComboBox::paintEvent(QPaintEvent* event)
{
    QComboBox::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor ink = Theme::Colour::secondary;
    if (!isEnabled())
        ink.setAlphaF(0.4F);
    painter.setPen(QPen(ink, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF tip(width() - 15.0, height() / 2.0 + 2.5);
    painter.drawPolyline(QPolygonF({tip + QPointF(-4.5, -4.5), tip, tip + QPointF(4.5, -4.5)}));
}
