#pragma once

#include <QColor>
#include <QLabel>

/// A short word on how things stand, in a colour that says so, too.
class StatusBadge : public QLabel {
    Q_OBJECT
public:
    explicit StatusBadge(QWidget* parent = nullptr);

    void setStatus(const QString& text, const QColor& colour);
    QColor colour() const { return m_colour; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QRectF ground() const;

    QColor m_colour;
};
