#include "wizard/AssetSelectionView.h"

#include "model/ConfigWrapper.h"
#include "platform/MainQueue.h"
#include "views/FadingScrollArea.h"
#include "views/Labels.h"
#include "wizard/AssetThumbnail.h"
#include "wizard/DragDropZone.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QPointer>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

DragDropZone::Kind applicationKind()
{
    return {u"Application"_s, u"app"_s, {u"app"_s}, true};
}

DragDropZone::Kind backgroundKind()
{
    return {
        u"Background"_s, u"photo"_s, {u"png"_s, u"jpg"_s, u"jpeg"_s, u"tiff"_s, u"heic"_s}, false};
}

bool holdsFocus(const AssetThumbnail* thumbnail)
{
    const QWidget* focused = QApplication::focusWidget();
    return focused == thumbnail || thumbnail->isAncestorOf(focused);
}

} // namespace

AssetSelectionView::AssetSelectionView(
    ConfigWrapper& job, FileIcons& icons, AssetHost assets, QWidget* parent)
    : QWidget(parent)
    , m_job(job)
    , m_library(std::move(assets))
    , m_application(new DragDropZone(applicationKind(), icons))
    , m_background(new DragDropZone(backgroundKind(), icons))
    , m_shelves(new QWidget)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(
        Theme::Space::page, Theme::Space::page, Theme::Space::page, Theme::Space::medium);
    layout->setSpacing(Theme::Space::large);
    layout->addWidget(new SectionHeader(
        u"Assets"_s, u"Select the application to package and the background appearance."_s));
    auto* zones = new QHBoxLayout;
    zones->setSpacing(Theme::Space::large);
    zones->addWidget(m_application);
    zones->addWidget(m_background);
    layout->addLayout(zones);

    layout->addWidget(makeLabel(u"Library"_s, Theme::Type::headline));
    auto* shelves = new QVBoxLayout(m_shelves);
    shelves->setContentsMargins(0, 0, 0, 0);
    shelves->setSpacing(Theme::Space::medium);
    m_recents = makeShelf(u"Recents"_s);
    m_presets = makeShelf(u"Presets"_s);
    shelves->addWidget(m_recents.whole);
    shelves->addWidget(m_presets.whole);
    shelves->addStretch(1);
    auto* scroll = new FadingScrollArea(Qt::Vertical);
    scroll->setWidget(m_shelves);
    layout->addWidget(scroll, 1);

    connect(m_application, &DragDropZone::fileChosen, this, [this](const auto& location) {
        m_job.edit([&](DMGConfig& config) { config.appURL = location; });
    });
    connect(m_background, &DragDropZone::fileChosen, this, [this](const auto& location) {
        m_job.edit([&](DMGConfig& config) { config.backgroundURL = location; });
    });
    connect(&m_job, &ConfigWrapper::configChanged, this, &AssetSelectionView::refresh);
    connect(
        &m_job, &ConfigWrapper::backgroundURLChanged, this, &AssetSelectionView::recordBackground);
    connect(&m_library, &AssetLibraryManager::recentsChanged, this,
        [this] { fill(m_recents, m_library.recents(), true); });
    connect(&m_library, &AssetLibraryManager::presetsChanged, this,
        [this] { fill(m_presets, m_library.presets(), false); });
    refresh();
}

void AssetSelectionView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_library.loadPresets();
}

AssetSelectionView::Shelf AssetSelectionView::makeShelf(const QString& title)
{
    Shelf shelf;
    shelf.whole = new QWidget;
    auto* layout = new QVBoxLayout(shelf.whole);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Theme::Space::tight);
    QLabel* heading = makeLabel(title, Theme::Type::body, Theme::Colour::secondary);
    heading->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    layout->addWidget(heading);

    auto* strip = new QWidget;
    shelf.row = new QHBoxLayout(strip);
    shelf.row->setContentsMargins(0, 0, 0, 0);
    shelf.row->setSpacing(2 * Theme::Space::small);
    shelf.row->addStretch();
    auto* scroll = new FadingScrollArea(Qt::Horizontal);
    scroll->setFixedHeight(136);
    scroll->setWidget(strip);
    layout->addWidget(scroll);
    shelf.whole->hide();
    return shelf;
}

void AssetSelectionView::fill(Shelf& shelf, const QList<QUrl>& pictures, bool areRemovable)
{
    QList<AssetThumbnail*> before = std::exchange(shelf.thumbnails, {});
    const qsizetype focused = std::ranges::find_if(before, &holdsFocus) - before.begin();
    for (const QUrl& picture : pictures) {
        const auto kept = std::ranges::find(before, picture, &AssetThumbnail::url);
        AssetThumbnail* thumbnail = nullptr;
        if (kept == before.end()) {
            thumbnail = makeThumbnail(picture, areRemovable);
        } else {
            thumbnail = *kept;
            before.erase(kept);
        }
        shelf.row->insertWidget(static_cast<int>(shelf.thumbnails.size()), thumbnail);
        shelf.thumbnails.append(thumbnail);
    }
    shelf.whole->setVisible(!pictures.isEmpty());
    for (AssetThumbnail* each : std::as_const(before)) {
        if (holdsFocus(each) && !shelf.thumbnails.isEmpty())
            shelf.thumbnails[qMin(focused, shelf.thumbnails.size() - 1)]->setFocus();
        each->hide();
        each->deleteLater(); // its own button may have asked for this
    }
    refresh();
}

AssetThumbnail* AssetSelectionView::makeThumbnail(const QUrl& picture, bool isRemovable)
{
    auto* thumbnail = new AssetThumbnail(picture, isRemovable);
    connect(thumbnail, &QAbstractButton::clicked, this, [this, picture] {
        m_job.edit([&](DMGConfig& config) { config.backgroundURL = picture; });
    });
    connect(
        thumbnail, &AssetThumbnail::removalAsked, this, [this, picture] { removeRecent(picture); });
    return thumbnail;
}

void AssetSelectionView::refresh()
{
    const DMGConfig& config = m_job.config();
    if (m_application->fileURL() != config.appURL)
        m_application->setFileURL(config.appURL);
    if (m_background->fileURL() != config.backgroundURL)
        m_background->setFileURL(config.backgroundURL);
    for (const Shelf* shelf : {&m_recents, &m_presets}) {
        for (AssetThumbnail* each : shelf->thumbnails)
            each->setSelected(each->url() == config.backgroundURL);
    }
}

void AssetSelectionView::recordBackground()
{
    const std::optional<QUrl> background = m_job.config().backgroundURL;
    if (!background)
        return;
    MainQueue::post([self = QPointer(this), picture = *background] {
        if (self)
            self->m_library.addToRecents(picture);
    });
}

void AssetSelectionView::removeRecent(const QUrl& picture)
{
    if (m_job.config().backgroundURL == picture)
        m_job.edit([](DMGConfig& config) { config.backgroundURL.reset(); });
    m_library.removeFromRecents(picture);
}
