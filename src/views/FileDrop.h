#pragma once

#include <QList>
#include <QUrl>

class QDropEvent;
class QMimeData;

/// What the places for dropped files have in common.
namespace FileDrop {

/// The files of this machine among what is dragged, in its order; none unless the first is one.
QList<QUrl> filesIn(const QMimeData& data);
/// The files stay where they are, whatever their source proposes.
void takeCopy(QDropEvent& event);

} // namespace FileDrop
