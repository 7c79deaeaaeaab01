#pragma once

#include <QString>

/// SHA-256 in hexadecimal of a file's bytes or, for a folder, of everything below it: names, kinds,
/// permissions, links and contents, in an order that doesn't depend on the host. Empty when there
/// is nothing at `path`. Throws PlatformError for what can't be read.
QString contentHash(const QString& path);
