#pragma once

#include <QString>

class QUrl;

/// The name of what `location` leads to: the text after the last slash, not counting slashes at
/// the end. A bundle's extension is part of it.
QString lastPathComponent(const QUrl& location);

/// `folder` and `relativePath` with exactly one slash between them.
QString joinedPath(const QString& folder, const QString& relativePath);
