#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

/// The backgrounds that come with the product: 600 x 400 points at two pixels a point (marked
/// 144 DPI), calm and light, since the Finder draws labels in black over them. All are
/// deterministic.
namespace Presets {

/// Names, as `picture` takes them.
QStringList names();

/// A null image for a name that is none of them.
QImage picture(const QString& name);

} // namespace Presets
