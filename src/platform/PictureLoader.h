#pragma once

#include <QImage>
#include <QObject>
#include <QSize>
#include <QUrl>

#include <functional>

/// Reads pictures away from the main thread.
class PictureLoader {
public:
    /// Reads the picture at `location`, upright and no larger than `largest` (shape kept; an
    /// empty size is no limit), and hands it to `receive` on a later turn of the main loop: null
    /// when it can't be read. Nothing is handed over once `context` is gone.
    static void load(const QUrl& location, const QSize& largest, QObject* context,
        std::function<void(const QImage&)> receive);
};
