#pragma once

#include "assets/AssetLibraryManager.h"

#include <QWidget>

class AssetThumbnail;
class ConfigWrapper;
class DragDropZone;
class FileIcons;
class QHBoxLayout;

/// The step in which the job gets its application and its background.
class AssetSelectionView : public QWidget {
    Q_OBJECT
public:
    /// `job` and `icons` outlive this widget.
    AssetSelectionView(
        ConfigWrapper& job, FileIcons& icons, AssetHost assets, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    /// A titled row of thumbnails.
    struct Shelf {
        QWidget* whole = nullptr;
        QHBoxLayout* row = nullptr;
        QList<AssetThumbnail*> thumbnails;
    };

    Shelf makeShelf(const QString& title);
    /// Pictures that are on the shelf already keep their thumbnails, and so the focus.
    void fill(Shelf& shelf, const QList<QUrl>& pictures, bool areRemovable);
    AssetThumbnail* makeThumbnail(const QUrl& picture, bool isRemovable);
    void refresh();
    void recordBackground();
    void removeRecent(const QUrl& picture);

    ConfigWrapper& m_job;
    AssetLibraryManager m_library;
    DragDropZone* m_application;
    DragDropZone* m_background;
    QWidget* m_shelves;
    Shelf m_recents;
    Shelf m_presets;
};
