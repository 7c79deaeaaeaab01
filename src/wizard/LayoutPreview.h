#pragma once

#include "model/DMGConfig.h"

#include <QImage>
#include <QPixmap>
#include <QVariantAnimation>
#include <QWidget>

class FileIcons;

/// The image's window as it will look, scaled to the room there is. Shows a job, changes none.
class LayoutPreview : public QWidget {
    Q_OBJECT
public:
    /// `icons` outlives this widget.
    explicit LayoutPreview(FileIcons& icons, QWidget* parent = nullptr);

    /// Shows `job`. Icons glide to their places when the arrangement has changed.
    void setConfig(const DMGConfig& job);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct Item {
        QString path; // of the file whose icon it has; empty for none
        QString label;
        QPointF position;
    };

    void loadBackground();
    void glideFrom(const QPointF& app, const QPointF& link);
    QSizeF windowSize() const;
    Item appItem() const;
    Item linkItem() const;
    void paintWindow(QPainter& painter, const QRectF& window);
    void paintBackground(QPainter& painter, const QRectF& window);
    void paintItem(QPainter& painter, const Item& item, double scale);
    QPixmap pictureOf(const Item& item, double scale) const;

    FileIcons& m_icons;
    DMGConfig m_job;
    QPointF m_appPosition; // where they are drawn, on the way to the job's
    QPointF m_linkPosition;
    QVariantAnimation m_glide;
    QImage m_background;
    QPixmap m_scaledBackground; // for the size it has
};
