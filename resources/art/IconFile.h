#pragma once

#include <QImage>
#include <QString>

#include <functional>

/// Writes an icns file with the eight PNG elements that current Macs read, each drawn for its own
/// size by `draw` (a square picture of the given edge in pixels). Throws std::runtime_error.
void writeIconFile(const QString& path, const std::function<QImage(int edge)>& draw);
