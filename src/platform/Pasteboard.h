#pragma once

#include <QString>

/// The system's general pasteboard. Needs a QGuiApplication.
class Pasteboard {
public:
    /// Puts plain text in the place of what was there.
    static void copy(const QString& text);
};
