#pragma once

#include <QByteArray>
#include <QUrl>

/// Keeps hold of files that the user chose, across launches.
class Bookmarks {
public:
    struct Resolved {
        QUrl location;
        bool isStale = false; // it still resolves, but has to be made anew to last
    };

    virtual ~Bookmarks() = default;
    /// What to keep for a file location. Throws PlatformError.
    virtual QByteArray create(const QUrl& location) = 0;
    /// The location that was kept. Throws PlatformError when there is none any more.
    virtual Resolved resolve(const QByteArray& bookmark) = 0;
};

/// Bookmarks of a host whose programs may read what their user may read: the file's URL. It can't
/// follow a file that was moved, and is stale when something else than a file took its place.
class HostBookmarks : public Bookmarks {
public:
    QByteArray create(const QUrl& location) override;
    Resolved resolve(const QByteArray& bookmark) override;
};
