#pragma once

#include <QComboBox>

/// A combo box with an arrow in the theme's own line. What is too long for it is shortened in its
/// middle, and a pointer on it then shows all; the list below is as wide as its longest entry.
class ComboBox : public QComboBox {
    Q_OBJECT
public:
    using QComboBox::QComboBox;
    void showPopup() override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    /// Who scrolls a page doesn't mean to choose.
    void wheelEvent(QWheelEvent* event) override;

private:
    QString shownText() const;
};
