#include "Drawings.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

namespace {

/// All icons are drawn on a grid of 1024 units, as the Mac's own icon grid is.
constexpr double grid = 1024;
constexpr QRectF plate(100, 100, 824, 824);
constexpr double plateRadius = 186;

QImage canvas(int edge)
{
    QImage image(edge, edge, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

void prepare(QPainter& painter, int edge)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(edge / grid, edge / grid);
    painter.setPen(Qt::NoPen);
}

QLinearGradient vertical(double top, double bottom, const QColor& from, const QColor& to)
{
    QLinearGradient gradient(0, top, 0, bottom);
    gradient.setColorAt(0, from);
    gradient.setColorAt(1, to);
    return gradient;
}

/// The rounded plate that every icon stands on, with its soft shadow and the light on its edge.
void drawPlate(QPainter& painter, const QColor& top, const QColor& bottom)
{
    for (int step = 12; step > 0; --step) {
        painter.setBrush(QColor(0, 0, 0, 5));
        painter.drawRoundedRect(plate.adjusted(-step, -step + 10, step, step + 14),
            plateRadius + step, plateRadius + step);
    }
    painter.setBrush(vertical(plate.top(), plate.bottom(), top, bottom));
    painter.drawRoundedRect(plate, plateRadius, plateRadius);

    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QBrush(vertical(plate.top(), plate.center().y(), QColor(255, 255, 255, 90),
                            QColor(255, 255, 255, 0))),
        5));
    painter.drawRoundedRect(
        plate.adjusted(2.5, 2.5, -2.5, -2.5), plateRadius - 2.5, plateRadius - 2.5);
    painter.setPen(Qt::NoPen);
}

void drawDrive(QPainter& painter)
{
    const QRectF body(252, 628, 520, 164);
    painter.setBrush(QColor(0, 0, 0, 70));
    painter.drawRoundedRect(body.translated(0, 12), 44, 44);
    painter.setBrush(vertical(body.top(), body.bottom(), QColor(0xf6f8fd), QColor(0xc3cde2)));
    painter.drawRoundedRect(body, 44, 44);
    painter.setBrush(QColor(0x8b98b5));
    painter.drawRoundedRect(QRectF(300, 694, 250, 30), 15, 15);
    painter.setBrush(QColor(0x35d0a5));
    painter.drawEllipse(QPointF(712, 709), 20, 20);
}

/// Two strokes that meet above the drive.
void drawLetter(QPainter& painter)
{
    QPainterPath letter(QPointF(318, 262));
    letter.lineTo(512, 548);
    letter.lineTo(706, 262);
    QLinearGradient ink(318, 262, 706, 548);
    ink.setColorAt(0, QColor(0x62e6ff));
    ink.setColorAt(0.5, QColor(0x5aa2ff));
    ink.setColorAt(1, QColor(0xa27bff));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(0, 0, 0, 60), 104, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(letter.translated(0, 12));
    painter.setPen(QPen(QBrush(ink), 100, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(letter);
    painter.setPen(Qt::NoPen);
}

void drawSpeech(QPainter& painter)
{
    QPainterPath bubble;
    bubble.addRoundedRect(QRectF(252, 300, 520, 340), 110, 110);
    QPainterPath tail(QPointF(380, 610));
    tail.lineTo(350, 760);
    tail.lineTo(520, 620);
    tail.closeSubpath();
    bubble = bubble.united(tail);
    painter.setBrush(QColor(120, 30, 20, 50));
    painter.drawPath(bubble.translated(0, 14));
    painter.setBrush(QColor(0xfffaf5));
    painter.drawPath(bubble);

    painter.setPen(QPen(QColor(0xf0664f), 46, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(432, 400), QPointF(432, 440));
    painter.drawLine(QPointF(592, 400), QPointF(592, 440));
    QPainterPath smile(QPointF(412, 520));
    smile.quadTo(QPointF(512, 612), QPointF(612, 520));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(smile);
    painter.setPen(Qt::NoPen);
}

} // namespace

QImage applicationIcon(int edge)
{
    QImage image = canvas(edge);
    QPainter painter(&image);
    prepare(painter, edge);
    drawPlate(painter, QColor(0x343f5e), QColor(0x11151f));
    drawDrive(painter);
    drawLetter(painter);
    return image;
}

QImage sampleIcon(int edge)
{
    QImage image = canvas(edge);
    QPainter painter(&image);
    prepare(painter, edge);
    drawPlate(painter, QColor(0xffb566), QColor(0xf2605b));
    drawSpeech(painter);
    return image;
}

QImage sampleBackground()
{
    constexpr int width = 600;
    constexpr int height = 400;
    constexpr int scale = 2;
    constexpr int dotsPerMetre = 5669; // 144 DPI

    QImage image(width * scale, height * scale, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(scale, scale);
    painter.fillRect(0, 0, width, height, vertical(0, height, QColor(0xfbfcfe), QColor(0xe2e8f3)));

    painter.setBrush(Qt::NoBrush);
    for (int ring = 0; ring < 7; ++ring) {
        painter.setPen(QPen(QColor(110, 135, 190, 26 - 3 * ring), 22));
        painter.drawEllipse(QPointF(300, 470), 150.0 + 62 * ring, 150.0 + 62 * ring);
    }

    QLinearGradient ink(246, 0, 354, 0);
    ink.setColorAt(0, QColor(0x9fb2d6));
    ink.setColorAt(1, QColor(0x6f8cf0));
    painter.setPen(QPen(QBrush(ink), 7, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawLine(QPointF(250, 178), QPointF(346, 178));
    painter.drawPolyline(QPolygonF({QPointF(322, 154), QPointF(348, 178), QPointF(322, 202)}));
    painter.end();

    image.setDotsPerMeterX(dotsPerMetre);
    image.setDotsPerMeterY(dotsPerMetre);
    return image;
}
