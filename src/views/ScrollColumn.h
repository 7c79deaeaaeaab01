#pragma once

#include <QScrollArea>

/// A column that scrolls up and down, without a frame. Fades out at an edge behind which there is
/// more.
class ScrollColumn : public QScrollArea {
    Q_OBJECT
public:
    explicit ScrollColumn(QWidget* parent = nullptr);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void placeFades();

    QWidget* m_above;
    QWidget* m_below;
};
