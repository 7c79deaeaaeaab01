#include "assets/AssetLibraryManager.h"

#include "platform/Bookmarks.h"
#include "platform/Console.h"
#include "platform/PlatformError.h"
#include "platform/UserDefaults.h"

#include <QDir>
#include <QFileInfo>
#include <QVariant>

#include <algorithm>
#include <cerrno>

using namespace Qt::StringLiterals;

const QString AssetLibraryManager::kRecentsKey = u"RecentBackgrounds"_s;
const QStringList AssetLibraryManager::extensions = {u"png"_s, u"jpg"_s, u"jpeg"_s};

namespace {

QString nameOf(const QUrl& picture)
{
    return picture.fileName(QUrl::FullyDecoded);
}

/// The program's own icon may lie among its pictures, and is none of them.
bool isIcon(const QString& name)
{
    return name.toLower().contains(u"appicon");
}

void sortByName(QList<QUrl>& pictures)
{
    std::ranges::stable_sort(pictures, {}, nameOf);
}

/// Names of what lies in the folder. Throws PlatformError when it can't be listed.
QStringList namesIn(const QString& path)
{
    const QFileInfo folder(path);
    if (!folder.exists())
        throw PlatformError::fromErrno(PlatformError::Operation::read, path, ENOENT);
    if (!folder.isDir())
        throw PlatformError::fromErrno(PlatformError::Operation::read, path, ENOTDIR);
    if (!folder.isReadable())
        throw PlatformError::fromErrno(PlatformError::Operation::read, path, EACCES);
    return QDir(path).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

} // namespace

AssetLibraryManager::AssetLibraryManager(AssetHost host, QObject* parent)
    : QObject(parent)
    , m_host(std::move(host))
{ }

void AssetLibraryManager::loadPresets()
{
    if (!m_presets.isEmpty())
        return;
    loadRecents();

    QList<QUrl> pictures = shippedPictures();
    pictures.removeIf([](const QUrl& picture) { return isIcon(nameOf(picture)); });
    sortByName(pictures);
    setPresets(std::move(pictures));
    if (!m_presets.isEmpty())
        return;

    for (const QString& known : {u"accretion"_s, u"flux"_s}) {
        if (const auto path = m_host.resources.find(known, u"png"_s)) {
            loadPresets(QUrl::fromLocalFile(QFileInfo(*path).absolutePath()));
            return;
        }
    }
    Console::write(u"Warning: No presets found."_s);
}

QList<QUrl> AssetLibraryManager::shippedPictures() const
{
    QList<QUrl> pictures;
    for (const QString& extension : extensions) {
        auto paths = m_host.resources.list(extension, u"Presets"_s);
        if (!paths)
            paths = m_host.resources.list(extension, u"Resources/Presets"_s);
        for (const QString& path : paths.value_or(QStringList()))
            pictures.append(QUrl::fromLocalFile(path));
    }
    return pictures;
}

void AssetLibraryManager::loadPresets(const QUrl& folder)
{
    const QString path = folder.toLocalFile();
    QList<QUrl> pictures;
    try {
        for (const QString& name : namesIn(path)) {
            if (extensions.contains(QFileInfo(name).suffix().toLower()) && !isIcon(name))
                pictures.append(QUrl::fromLocalFile(QDir(path).filePath(name)));
        }
    } catch (const PlatformError& failure) {
        Console::write(u"Could not load presets from %1: %2"_s.arg(path, failure.description()));
        return;
    }
    sortByName(pictures);

    QList<QUrl> presets = m_presets;
    for (const QUrl& picture : pictures) {
        if (!presets.contains(picture))
            presets.append(picture);
    }
    sortByName(presets);
    setPresets(std::move(presets));
}

void AssetLibraryManager::loadRecents()
{
    const auto kept = m_host.defaults.array(kRecentsKey);
    const auto isData = [](const QVariant& value) {
        return value.metaType().id() == QMetaType::QByteArray;
    };
    if (!kept || !std::ranges::all_of(*kept, isData))
        return;

    QList<QUrl> found;
    for (const QVariant& bookmark : *kept) {
        try {
            const Bookmarks::Resolved resolved = m_host.bookmarks.resolve(bookmark.toByteArray());
            if (!resolved.isStale)
                found.append(resolved.location);
        } catch (const PlatformError& failure) {
            Console::write(u"Failed to resolve bookmark: "_s + failure.description());
        }
    }
    setRecents(std::move(found));
}

void AssetLibraryManager::addToRecents(const QUrl& picture)
{
    if (m_presets.contains(picture) || picture.path().contains(u"/Resources/Presets/"))
        return;
    QList<QUrl> recents = m_recents;
    recents.removeIf([&](const QUrl& each) { return each.path() == picture.path(); });
    recents.prepend(picture);
    if (recents.size() > maxRecents)
        recents.resize(maxRecents);
    setRecents(std::move(recents));
    saveRecents();
}

void AssetLibraryManager::removeFromRecents(const QUrl& picture)
{
    QList<QUrl> recents = m_recents;
    recents.removeIf([&](const QUrl& each) { return each.path() == picture.path(); });
    setRecents(std::move(recents));
    saveRecents();
}

void AssetLibraryManager::saveRecents()
{
    QVariantList kept;
    for (const QUrl& picture : m_recents) {
        try {
            kept.append(m_host.bookmarks.create(picture));
        } catch (const PlatformError& failure) {
            Console::write(u"Failed to create bookmark for %1: %2"_s.arg(
                picture.toString(), failure.description()));
        }
    }
    m_host.defaults.set(kRecentsKey, kept);
}

void AssetLibraryManager::setPresets(QList<QUrl> presets)
{
    if (presets == m_presets)
        return;
    m_presets = std::move(presets);
    emit presetsChanged();
}

void AssetLibraryManager::setRecents(QList<QUrl> recents)
{
    if (recents == m_recents)
        return;
    m_recents = std::move(recents);
    emit recentsChanged();
}
