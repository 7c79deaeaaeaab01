#pragma once

#include <QScrollArea>

/// Scrolls one way, without a frame. Fades out at an edge behind which there is more.
class FadingScrollArea : public QScrollArea {
    Q_OBJECT
public:
    explicit FadingScrollArea(Qt::Orientation direction, QWidget* parent = nullptr);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QScrollBar& bar() const;
    void placeFades();

    Qt::Orientation m_direction;
    QWidget* m_before;
    QWidget* m_after;
};
