#pragma once

#include <QAbstractButton>
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
    QUrl m_url;
    bool m_isSelected = false;
    QPixmap m_picture;
};
