#pragma once

#include <QImage>

/// The sample image's window as its numbers describe it: background, icons and labels at their
/// places, with a plain frame around. Drawn for the README; the Finder's own look differs in
/// detail. Needs a QGuiApplication, since it draws text.
QImage sampleWindow();
