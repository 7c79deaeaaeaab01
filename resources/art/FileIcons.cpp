#include "FileIcons.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

#include <functional>

namespace {

constexpr double grid = 1024;

QImage drawn(int edge, const std::function<void(QPainter&)>& draw)
{
    QImage image(edge, edge, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(edge / grid, edge / grid);
    painter.setPen(Qt::NoPen);
    draw(painter);
    return image;
}

QLinearGradient vertical(const QRectF& area, const QColor& from, const QColor& to)
{
    QLinearGradient gradient(area.topLeft(), area.bottomLeft());
    gradient.setColorAt(0, from);
    gradient.setColorAt(1, to);
    return gradient;
}

void drawShadow(QPainter& painter, const QPainterPath& shape)
{
    for (int step = 1; step <= 6; ++step) {
        painter.setBrush(QColor(10, 20, 50, 10));
        painter.drawPath(shape.translated(0, 5 * step));
    }
}

void drawFolder(QPainter& painter)
{
    const QRectF back(84, 196, 856, 640);
    QPainterPath outline;
    outline.addRoundedRect(back, 64, 64);
    QPainterPath tab;
    tab.addRoundedRect(QRectF(84, 138, 372, 220), 64, 64);
    outline = outline.united(tab);
    drawShadow(painter, outline);
    painter.setBrush(vertical(back, QColor(0x3f97d8), QColor(0x2f83c6)));
    painter.drawPath(outline);

    const QRectF front(84, 266, 856, 590);
    painter.setBrush(vertical(front, QColor(0x86cbf8), QColor(0x4aa5e6)));
    painter.drawRoundedRect(front, 64, 64);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(255, 255, 255, 90), 6));
    painter.drawRoundedRect(front.adjusted(3, 3, -3, -3), 61, 61);
}

void drawLetter(QPainter& painter)
{
    painter.setPen(QPen(QColor(0x2b7fc0), 42, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF top(512, 408);
    painter.drawPolyline(QPolygonF({QPointF(378, 716), top, QPointF(646, 716)}));
    painter.drawLine(QPointF(352, 610), QPointF(672, 610));
}

void drawSheet(QPainter& painter)
{
    QPainterPath sheet(QPointF(236, 96));
    sheet.lineTo(620, 96);
    sheet.lineTo(808, 284);
    sheet.lineTo(808, 888);
    sheet.quadTo(808, 928, 768, 928);
    sheet.lineTo(256, 928);
    sheet.quadTo(216, 928, 216, 888);
    sheet.lineTo(216, 136);
    sheet.quadTo(216, 96, 256, 96);
    drawShadow(painter, sheet);
    painter.setBrush(vertical(QRectF(216, 96, 592, 832), QColor(0xffffff), QColor(0xe6eaf2)));
    painter.drawPath(sheet);

    QPainterPath corner(QPointF(620, 96));
    corner.lineTo(620, 244);
    corner.quadTo(620, 284, 660, 284);
    corner.lineTo(808, 284);
    corner.closeSubpath();
    painter.setBrush(QColor(0xc6cede));
    painter.drawPath(corner);
}

void drawPlate(QPainter& painter)
{
    const QRectF plate(100, 100, 824, 824);
    QPainterPath outline;
    outline.addRoundedRect(plate, 186, 186);
    drawShadow(painter, outline);
    painter.setBrush(vertical(plate, QColor(0xf4f6fb), QColor(0xc9d1e2)));
    painter.drawPath(outline);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(0x9aa7c2), 20));
    painter.drawEllipse(QPointF(512, 512), 250, 250);
    painter.drawRoundedRect(QRectF(262, 262, 500, 500), 96, 96);
    painter.drawLine(QPointF(512, 150), QPointF(512, 874));
    painter.drawLine(QPointF(150, 512), QPointF(874, 512));
}

} // namespace

QImage applicationsFolderIcon(int edge)
{
    return drawn(edge, [](QPainter& painter) {
        drawFolder(painter);
        drawLetter(painter);
    });
}

QImage documentIcon(int edge)
{
    return drawn(edge, drawSheet);
}

QImage genericApplicationIcon(int edge)
{
    return drawn(edge, drawPlate);
}
