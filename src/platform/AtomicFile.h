#pragma once

#include <QByteArray>
#include <QString>

#include <sys/types.h>

/// Files that appear under their name whole or not at all.
class AtomicFile {
public:
    /// Replaces or creates `path` with `mode`. The folder exists. Throws PlatformError and
    /// leaves what was there.
    static void write(const QString& path, const QByteArray& bytes, mode_t mode);
};
