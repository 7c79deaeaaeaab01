#pragma once

#include <QString>

class QUrl;

/// The path of what `location` leads to, without a slash at the end.
QString pathOf(const QUrl& location);

/// The name of what `location` leads to: the text after the last slash, not counting slashes at
/// the end. A bundle's extension is part of it.
QString lastPathComponent(const QUrl& location);

/// `path` with the user's own folder in the place of a "~" at its start, as a shell has it.
QString withHomeFolder(const QString& path);

/// `folder` and `relativePath` with exactly one slash between them.
QString joinedPath(const QString& folder, const QString& relativePath);
