#pragma once

#include <QKeySequence>

class QEvent;

/// The wizard's way back by key.
namespace WayBack {

QKeySequence key();
/// True for the event in which a text that is only read would claim that key, to go a word back.
/// The event is left to the wizard then.
bool leaves(QEvent& event);

} // namespace WayBack
