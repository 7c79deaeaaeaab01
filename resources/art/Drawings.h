#pragma once

#include <QImage>

/// The pictures that this product ships, drawn by program so that they can be made again at any
/// size. All are deterministic.

/// The application's icon: a V that points into a drive. `edge` in pixels.
QImage applicationIcon(int edge);

/// The sample application's icon. `edge` in pixels.
QImage sampleIcon(int edge);

/// The sample image's background: 600 x 400 points at two pixels a point (marked 144 DPI), light,
/// since the Finder draws labels in black over a picture.
QImage sampleBackground();
