#include "views/StatusBadge.h"

#include "views/Theme.h"

#include <QPainter>

StatusBadge::StatusBadge(QWidget* parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setContentsMargins(22, 4, 12, 4);
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

void StatusBadge::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor ground = m_colour;
    ground.setAlphaF(0.12F);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(rect(), Theme::Radius::control, Theme::Radius::control);
    painter.setBrush(m_colour);
    painter.drawEllipse(QPointF(12, height() / 2.0), 3.5, 3.5);
    painter.end();
    QLabel::paintEvent(event);
}
