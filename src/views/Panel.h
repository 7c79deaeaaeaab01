#pragma once

#include <QColor>
#include <QWidget>

/// A plain ground of one colour, for a part of a window.
class Panel : public QWidget {
    Q_OBJECT
public:
    explicit Panel(const QColor& colour, QWidget* parent = nullptr)
        : QWidget(parent)
        , m_colour(colour)
    { }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_colour;
};
