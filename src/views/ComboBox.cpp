#include "views/ComboBox.h"

#include "views/Theme.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QStylePainter>
#include <QTextDocument>
#include <QToolTip>
#include <QWheelEvent>

void ComboBox::showPopup()
{
    view()->setMinimumWidth(view()->sizeHintForColumn(0) + 2 * Theme::Space::medium);
    QComboBox::showPopup();
}

void ComboBox::wheelEvent(QWheelEvent* event)
{
    event->ignore();
}

bool ComboBox::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip || shownText() == currentText())
        return QComboBox::event(event);
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(),
        Qt::convertFromPlainText(currentText()), this);
    return true;
}

QString ComboBox::shownText() const
{
    QStyleOptionComboBox option;
    initStyleOption(&option);
    const QRect room =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    return fontMetrics().elidedText(
        currentText(), Qt::ElideMiddle, room.width() - Theme::Space::tight);
}

void ComboBox::paintEvent(QPaintEvent*)
{
    QStylePainter painter(this);
    QStyleOptionComboBox option;
    initStyleOption(&option);
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    option.currentText = shownText();
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);

    painter.setRenderHint(QPainter::Antialiasing);
    QColor ink = Theme::Colour::secondary;
    if (!isEnabled())
        ink.setAlphaF(0.4F);
    painter.setPen(QPen(ink, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF tip(width() - 15.0, height() / 2.0 + 2.5);
    painter.drawPolyline(QPolygonF({tip + QPointF(-4.5, -4.5), tip, tip + QPointF(4.5, -4.5)}));
}
