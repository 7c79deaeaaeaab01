#include "views/TabStops.h"

#include <QScrollArea>
#include <QWidget>

namespace {

/// Also where a scroll area lies in another one.
void bringIntoView(QWidget& widget)
{
    for (QWidget* above = widget.parentWidget(); above; above = above->parentWidget()) {
        if (auto* area = qobject_cast<QScrollArea*>(above))
            area->ensureWidgetVisible(&widget);
    }
}

} // namespace

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
