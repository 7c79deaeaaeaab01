#pragma once

#include <QAbstractButton>
#include <QImage>
#include <QPixmap>
#include <QUrl>

class SymbolButton;

/// A picture to choose, with its name. The picture is read in the background.
class AssetThumbnail : public QAbstractButton {
    Q_OBJECT
public:
    /// `isRemovable` ones have a button that asks for their removal.
    AssetThumbnail(const QUrl& url, bool isRemovable, QWidget* parent = nullptr);

    const QUrl& url() const { return m_url; }
    bool isSelected() const { return m_isSelected; }
    void setSelected(bool selected);
    QSize sizeHint() const override;

signals:
    void removalAsked();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const QPixmap& picture();

    QUrl m_url;
    bool m_isRemovable;
    bool m_isSelected = false;
    QImage m_source;
    QPixmap m_picture; // of the source, as it is painted
};
