#include "views/WayBack.h"

#include <QKeyEvent>

QKeySequence WayBack::key()
{
    return Qt::CTRL | Qt::Key_Left;
}

bool WayBack::leaves(QEvent& event)
{
    if (event.type() != QEvent::ShortcutOverride)
        return false;
    if (QKeySequence(static_cast<const QKeyEvent&>(event).keyCombination()) != key())
        return false;
    event.ignore();
    return true;
}
