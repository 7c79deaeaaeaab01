#include "WindowPicture.h"

#include "Drawings.h"
#include "FileIcons.h"

#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int scale = 2;
constexpr int width = 600; // points, as a new job has them
constexpr int height = 400;
constexpr int titleHeight = 28;
constexpr int margin = 36;
constexpr int iconSize = 128;
constexpr int textSize = 16;
constexpr QPoint applicationPlace(140, 178);
constexpr QPoint linkPlace(460, 178);

void drawLabel(QPainter& painter, QPoint place, const QString& text)
{
    QFont font("DejaVu Sans");
    font.setPixelSize(textSize);
    painter.setFont(font);
    painter.setPen(Qt::black);
    painter.drawText(QRect(place.x() - 120, place.y() + iconSize / 2 + 4, 240, 24),
        Qt::AlignHCenter | Qt::AlignTop, text);
}

void drawFrame(QPainter& painter)
{
    painter.setPen(Qt::NoPen);
    for (int step = 18; step > 0; --step) {
        painter.setBrush(QColor(0, 0, 0, 2));
        painter.drawRoundedRect(
            QRect(-step, -step + 8, width + 2 * step, height + 2 * step), 10 + step, 10 + step);
    }
    QPainterPath window;
    window.addRoundedRect(QRect(0, 0, width, height), 10, 10);
    painter.setClipPath(window);
    painter.fillRect(0, 0, width, titleHeight, QColor(0xececee));
    painter.setPen(Qt::NoPen);
    for (const auto& [x, colour] : {std::pair(18, 0xff5f57), {38, 0xfebc2e}, {58, 0x28c840}}) {
        painter.setBrush(QColor(static_cast<QRgb>(colour)));
        painter.drawEllipse(QPoint(x, titleHeight / 2), 6, 6);
    }
    QFont font("DejaVu Sans");
    font.setPixelSize(13);
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(QColor(0x4a4a4d));
    painter.drawText(QRect(0, 0, width, titleHeight), Qt::AlignCenter, "Hello Vandor");
}

} // namespace

QImage sampleWindow()
{
    QImage image((width + 2 * margin) * scale, (height + 2 * margin) * scale,
        QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.scale(scale, scale);
    painter.translate(margin, margin);
    drawFrame(painter);

    painter.translate(0, titleHeight);
    painter.drawImage(QRect(0, 0, width, height), sampleBackground());
    painter.drawImage(
        QRect(applicationPlace - QPoint(iconSize, iconSize) / 2, QSize(iconSize, iconSize)),
        sampleIcon(iconSize * scale));
    painter.drawImage(QRect(linkPlace - QPoint(iconSize, iconSize) / 2, QSize(iconSize, iconSize)),
        applicationsFolderIcon(iconSize * scale));
    drawLabel(painter, applicationPlace, "Hello Vandor");
    drawLabel(painter, linkPlace, "Applications");
    return image;
}
