#pragma once

#include "platform/ApplicationResources.h"

#include <QList>
#include <QObject>
#include <QStringList>
#include <QUrl>

class Bookmarks;
class UserDefaults;

/// What the library works with. Borrowed services outlive it.
struct AssetHost {
    UserDefaults& defaults;
    Bookmarks& bookmarks;
    ApplicationResources resources;
};

/// The background pictures on offer: those that come with the program, and those that the user
/// took lately, which are kept across launches. Main thread only.
///
/// No failure reaches the user: what can't be listed, kept or found again is left out, and the
/// console is told.
class AssetLibraryManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(QList<QUrl> presets READ presets NOTIFY presetsChanged)
    Q_PROPERTY(QList<QUrl> recents READ recents NOTIFY recentsChanged)

public:
    static const QString kRecentsKey;
    static constexpr int maxRecents = 10;
    static const QStringList extensions; // of pictures, lower case

    explicit AssetLibraryManager(AssetHost host, QObject* parent = nullptr);

    /// Sorted by file name.
    const QList<QUrl>& presets() const { return m_presets; }
    /// The latest first; no two of one path.
    const QList<QUrl>& recents() const { return m_recents; }

    /// Fills both lists, unless there are presets already.
    void loadPresets();
    /// Adds the pictures of one folder to the presets.
    void loadPresets(const QUrl& folder);
    /// Reads the kept pictures anew. Without any, the list stays as it is.
    void loadRecents();
    /// Puts a picture in front of the recents and keeps them. Presets are never recent.
    void addToRecents(const QUrl& picture);
    /// Takes every entry of this picture's path away and keeps the rest.
    void removeFromRecents(const QUrl& picture);
    void saveRecents();

signals:
    void presetsChanged();
    void recentsChanged();

private:
    QList<QUrl> shippedPictures() const;
    void setPresets(QList<QUrl> presets);
    void setRecents(QList<QUrl> recents);

    AssetHost m_host;
    QList<QUrl> m_presets;
    QList<QUrl> m_recents;
};
