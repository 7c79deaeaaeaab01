#pragma once

#include <QImage>

/// Pictures that stand for files which have none of their own. `edge` in pixels.

/// A folder with the letter that marks where applications go.
QImage applicationsFolderIcon(int edge);

/// A sheet of paper with a turned corner.
QImage documentIcon(int edge);

/// An application's empty plate.
QImage genericApplicationIcon(int edge);
