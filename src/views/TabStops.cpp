#include "views/TabStops.h"

#include <QCoreApplication>
#include <QEvent>
#include <QScrollArea>
#include <QWidget>

void TabStops::bringIntoView(QWidget& widget)
{
    for (QWidget* above = widget.parentWidget(); above; above = above->parentWidget()) {
        // What is new or has grown gets its place first.
        QCoreApplication::sendPostedEvents(above, QEvent::LayoutRequest);
        auto* area = qobject_cast<QScrollArea*>(above);
        if (area == nullptr)
            continue;
        const QPoint end = widget.mapTo(area->widget(), widget.rect().bottomLeft());
        area->ensureVisible(end.x(), end.y());
        area->ensureWidgetVisible(&widget);
    }
}

void TabStops::move(const QList<QWidget*>& parts, QWidget* current, bool next)
{
    QList<QWidget*> stops;
    for (const QWidget* part : parts) {
        for (QWidget* each : part->findChildren<QWidget*>()) {
            if ((each->focusPolicy() & Qt::TabFocus) != 0 && each->isEnabled() && each->isVisible())
                stops.append(each);
        }
    }
    if (stops.isEmpty())
        return;
    const qsizetype count = stops.size();
    const qsizetype at = stops.indexOf(current);
    const qsizetype before = at < 0 ? count - 1 : at + count - 1;
    QWidget& stop = *stops[(next ? at + 1 : before) % count];
    stop.setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    bringIntoView(stop);
}
