#pragma once

#include <QImage>

/// The picture of the program for the desktop's task list.
namespace ApplicationIcon {

/// A picture made an icon: clipped to a rounded square with a soft shadow under it.
QImage rounded(const QImage& picture);

/// Installs the resource AppIcon as this program's icon, on a later turn of the main loop. Without
/// one that can be read the program keeps the icon it has.
void refresh();

} // namespace ApplicationIcon
