#pragma once

#include <QFrame>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <optional>

class ElidedLabel;
class FileIcons;
class QLabel;
class QStackedLayout;

/// Takes one file of certain kinds, dropped or browsed for, and shows which it has.
class DragDropZone : public QFrame {
    Q_OBJECT
public:
    /// What kind of zone it is. The single extension "*" accepts every file.
    struct Kind {
        QString title;
        QString icon; // symbol of the empty zone
        QStringList allowedExtensions; // lower case
        bool takesBundles = false; // whether browsing takes an application's folder as one file
    };

    /// `icons` outlives this widget.
    DragDropZone(Kind kind, FileIcons& icons, QWidget* parent = nullptr);

    /// Whether a file of this location is one of the extensions, whatever its letters' case.
    static bool accepts(const QStringList& allowedExtensions, const QUrl& location);

    void setFileURL(const std::optional<QUrl>& location);
    const std::optional<QUrl>& fileURL() const { return m_fileURL; }
    /// A drag hovers over the zone.
    bool isTargeted() const { return m_isTargeted; }

signals:
    /// The user has given a file that is accepted, or has cleared the zone.
    void fileChosen(const std::optional<QUrl>& location);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QWidget* makeEmptyPage();
    QWidget* makeFilledPage();
    void browse();
    void showPicture(const QUrl& location);
    /// On a later turn of the main loop: takes the file if it is of the right kind.
    void offer(const QUrl& location);
    void setTargeted(bool targeted);

    Kind m_kind;
    FileIcons& m_icons;
    std::optional<QUrl> m_fileURL;
    bool m_isTargeted = false;
    QStackedLayout* m_pages;
    QLabel* m_picture = nullptr;
    ElidedLabel* m_name = nullptr;
};
