#include "views/StatusBadge.h"

#include "views/Theme.h"

#include <QPainter>

namespace {

constexpr QMargins padding(26, 4, 14, 4); // with the dot at the left
constexpr double roundest = 13;

} // namespace

StatusBadge::StatusBadge(QWidget* parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setContentsMargins(padding);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
}

void StatusBadge::setStatus(const QString& text, const QColor& colour)
{
    m_colour = colour;
    setText(text);
    setAccessibleName(text);
    Theme::style(*this, Theme::Type::body, colour);
    update();
}

/// The ground hugs the text, however wide the row is.
QRectF StatusBadge::ground() const
{
    const QRect words = fontMetrics().boundingRect(
        contentsRect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextWordWrap, text());
    const QRectF around(words.marginsAdded(padding));
    return {0, (height() - around.height()) / 2, qMin<double>(around.width(), width()),
        around.height()};
}

void StatusBadge::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::tint(m_colour));
    painter.drawRoundedRect(ground(), roundest, roundest);
    painter.setBrush(m_colour);
    painter.drawEllipse(QPointF(14, height() / 2.0), 3.5, 3.5);
    painter.end();
    QLabel::paintEvent(event);
}
