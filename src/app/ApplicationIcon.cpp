#include "app/ApplicationIcon.h"

#include "platform/ApplicationResources.h"
#include "platform/IcnsFile.h"
#include "platform/MainQueue.h"

#include <QFile>
#include <QGuiApplication>
#include <QIcon>
#include <QPainter>
#include <QPainterPath>

using namespace Qt::StringLiterals;

namespace {

constexpr int canvas = 512;
constexpr int margin = 48; // for the shadow
constexpr double cornerShare = 0.225; // of the picture's edge

/// A photograph that somebody put in the place of the product's own icon wins over it.
QImage iconPicture()
{
    if (const auto photograph = ApplicationResources::path(u"AppIcon"_s, u"jpg"_s)) {
        const QImage picture(*photograph);
        if (!picture.isNull())
            return ApplicationIcon::rounded(picture);
    }
    const auto path = ApplicationResources::path(u"AppIcon"_s, u"icns"_s);
    QFile file(path.value_or(QString()));
    return path && file.open(QIODevice::ReadOnly) ? IcnsFile::image(file.readAll(), canvas)
                                                  : QImage();
}

} // namespace

QImage ApplicationIcon::rounded(const QImage& picture)
{
    QImage icon(canvas, canvas, QImage::Format_ARGB32_Premultiplied);
    icon.fill(Qt::transparent);
    QPainter painter(&icon);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    const QRectF place = QRectF(icon.rect()).adjusted(margin, margin, -margin, -margin);
    const double radius = place.width() * cornerShare;
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 8));
    for (int step = margin / 2; step > 0; step -= 2) {
        painter.drawRoundedRect(
            place.adjusted(-step, 6 - step, step, 6 + step), radius + step, radius + step);
    }
    QPainterPath outline;
    outline.addRoundedRect(place, radius, radius);
    painter.setClipPath(outline);
    const QSizeF piece = place.size().scaled(picture.size(), Qt::KeepAspectRatio);
    const QRectF middle(
        QPointF((picture.width() - piece.width()) / 2, (picture.height() - piece.height()) / 2),
        piece);
    painter.drawImage(place, picture, middle);
    return icon;
}

void ApplicationIcon::refresh()
{
    MainQueue::post([] {
        const QImage picture = iconPicture();
        if (!picture.isNull())
            QGuiApplication::setWindowIcon(QIcon(QPixmap::fromImage(picture)));
    });
}
