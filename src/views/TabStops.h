#pragma once

#include <QList>

class QWidget;

/// Where Tab leads, for windows whose parts come and go: Qt's own order is that in which they came.
namespace TabStops {

/// Moves the focus from `current` to the next control that takes it, or to the one before, round
/// through `parts` in their order. From elsewhere it goes to the first or the last.
void move(const QList<QWidget*>& parts, QWidget* current, bool next);
/// Scrolls what it lies in, also where a scroll area lies in another one.
void bringIntoView(QWidget& widget);

} // namespace TabStops
