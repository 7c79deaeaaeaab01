#pragma once

#include <QString>

/// Diagnostic lines that a window's user never sees: this process's standard output.
class Console {
public:
    /// Writes `line` and a line feed in UTF-8, at once.
    static void write(const QString& line);
};
