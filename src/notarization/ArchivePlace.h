#pragma once

#include <QSet>
#include <QString>

#include <memory>

/// Where the archive of an application lies while it is being submitted. Two runs at once, which a
/// new project makes possible, get places of their own, even for the same application.
class ArchivePlace {
public:
    /// Places that runs have taken. Main thread only.
    using Taken = std::shared_ptr<QSet<QString>>;

    /// `temporaryFolder`/`application`.zip, or, while that is taken, the same name in a folder of
    /// its own. Throws PlatformError when that folder can't be made.
    ArchivePlace(Taken taken, const QString& temporaryFolder, const QString& application);
    ArchivePlace(const ArchivePlace&) = delete;
    ArchivePlace& operator=(const ArchivePlace&) = delete;
    /// Gives the place up. An archive that still lies there stays.
    ~ArchivePlace();

    const QString& path() const { return m_path; }

private:
    Taken m_taken;
    QString m_path;
    QString m_ownFolder;
};
