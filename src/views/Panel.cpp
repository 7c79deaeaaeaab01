#include "views/Panel.h"

#include <QPainter>

void Panel::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(rect(), m_colour);
}
