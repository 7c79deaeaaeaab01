#include "views/Symbol.h"

#include "platform/ApplicationResources.h"
#include "views/Theme.h"

#include <QIconEngine>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

using namespace Qt::StringLiterals;

namespace {

/// How much ink a pixel of the drawing has: white takes away what black has put there.
int inkOf(QRgb pixel)
{
    return qAlpha(pixel) - qGray(pixel); // both premultiplied
}

QImage inColour(const QImage& drawing, const QColor& colour)
{
    QImage coloured(drawing.size(), QImage::Format_ARGB32);
    for (int y = 0; y < drawing.height(); ++y) {
        const auto* from = reinterpret_cast<const QRgb*>(drawing.constScanLine(y));
        auto* to = reinterpret_cast<QRgb*>(coloured.scanLine(y));
        for (int x = 0; x < drawing.width(); ++x) {
            to[x] = qRgba(
                colour.red(), colour.green(), colour.blue(), inkOf(from[x]) * colour.alpha() / 255);
        }
    }
    return coloured;
}

QPixmap draw(const QString& name, const QColor& colour, int pixels)
{
    const auto path = ApplicationResources::path(u"symbols/"_s + name, u"svg"_s);
    if (!path)
        return {};
    QSvgRenderer renderer(*path);
    QImage drawing(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    drawing.fill(Qt::transparent);
    QPainter painter(&drawing);
    renderer.render(&painter);
    painter.end();
    return QPixmap::fromImage(inColour(drawing, colour));
}

/// Draws for the size and the screen that it is asked for.
class SymbolIcon : public QIconEngine {
public:
    SymbolIcon(QString name, const QColor& colour)
        : m_name(std::move(name))
        , m_colour(colour)
    { }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override
    {
        const int edge = qMin(rect.width(), rect.height());
        // At the left: what is wider than high keeps its distance from a text.
        const QRect place(rect.x(), rect.y() + (rect.height() - edge) / 2, edge, edge);
        painter->drawPixmap(place,
            Symbol::pixmap(m_name, inkFor(mode), edge, painter->device()->devicePixelRatio()));
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override
    {
        return scaledPixmap(size, mode, QIcon::On, 1);
    }
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State, qreal scale) override
    {
        QPixmap drawn(size);
        drawn.fill(Qt::transparent);
        QPainter painter(&drawn);
        paint(&painter, drawn.rect(), mode, QIcon::On);
        painter.end();
        drawn.setDevicePixelRatio(scale);
        return drawn;
    }
    QIconEngine* clone() const override { return new SymbolIcon(*this); }

private:
    QColor inkFor(QIcon::Mode mode) const
    {
        QColor ink = m_colour;
        if (mode == QIcon::Disabled)
            ink.setAlphaF(0.4F);
        return ink;
    }

    QString m_name;
    QColor m_colour;
};

} // namespace

QPixmap Symbol::pixmap(const QString& name, const QColor& colour, int points, double pixelRatio)
{
    const int pixels = qMax(1, qRound(points * pixelRatio));
    const QString key = u"symbol/%1/%2/%3"_s.arg(name, colour.name(QColor::HexArgb)).arg(pixels);
    QPixmap drawn;
    if (!QPixmapCache::find(key, &drawn)) {
        drawn = draw(name, colour, pixels);
        QPixmapCache::insert(key, drawn);
    }
    drawn.setDevicePixelRatio(pixelRatio);
    return drawn;
}

QIcon Symbol::icon(const QString& name, const QColor& colour)
{
    return QIcon(new SymbolIcon(name, colour));
}

SymbolLabel::SymbolLabel(const QString& name, const QColor& colour, int points, QWidget* parent)
    : QLabel(parent)
    , m_name(name)
    , m_colour(colour)
    , m_points(points)
{
    setFixedSize(points, points);
}

void SymbolLabel::setSymbol(const QString& name, const QColor& colour)
{
    m_name = name;
    m_colour = colour;
    update();
}

void SymbolLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.drawPixmap(rect(), Symbol::pixmap(m_name, m_colour, m_points, devicePixelRatioF()));
}
